// What a person reads: headings, lists of fields and aligned tables, made from a JSON document.
#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "format.h"

namespace boardctl {

// The columns that a text takes on a terminal: UTF-8, wide and combining characters included.
std::size_t display_width(std::string_view text);
// The text with everything made visible that could steer a terminal or is no UTF-8.
std::string printable(std::string_view text);
// A value as a table shows it: null "-", truth "yes" and "no", a list its elements with commas.
std::string value_text(const Json &value);

// Where in a row (a list of fields: in the document) a value stands, as a JSON pointer, or how it
// is made from it.
struct Column {
    std::string heading;
    std::string pointer;
    std::function<Json(const Json &row)> make = {};

    Json of(const Json &row) const;
};

class Page {
public:
    explicit Page(bool colour) : colour_(colour) {}

    void title(std::string_view text);    // of a section of the report
    void heading(std::string_view text);  // of what follows, set off by an empty line
    void line(std::string_view text);
    // One line each: name and value, the values aligned.
    void fields(const Json &document, const std::vector<Column> &columns);
    // One line each row of a JSON list. Columns of numbers are aligned to the right; a list without
    // rows shows "none".
    void table(const Json &rows, const std::vector<Column> &columns);

    enum class Style { plain, strong, good, weak, accent };
    struct Piece {
        std::string text;
        Style style;
    };
    // One line of parts that are told apart by colour.
    void pieces(const std::vector<Piece> &parts);

    const std::string &text() const { return text_; }

private:
    struct Cell {
        std::string text;
        bool number;
        Style style;
    };
    static Cell cell(const Json &value);
    void put(std::string_view text, Style style);
    void end_line();

    bool colour_;
    std::string text_;
};

}  // namespace boardctl
