#include "page.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace boardctl {

namespace {

constexpr char32_t not_utf8 = 0xFFFFFFFF;

// Takes the next character off the text; a byte that begins none is taken alone.
char32_t next_character(std::string_view &text, std::string_view &bytes) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    const std::size_t length = first < 0x80                     ? 1
                               : first >= 0xC2 && first <= 0xDF ? 2
                               : (first & 0xF0) == 0xE0         ? 3
                               : first >= 0xF0 && first <= 0xF4 ? 4
                                                                : 0;
    char32_t value = length == 1 ? first : first & (0x7Fu >> length);
    bool valid = length != 0 && length <= text.size();
    for (std::size_t i = 1; valid && i < length; ++i) {
        valid = (byte(i) & 0xC0) == 0x80;
        value = value << 6 | (byte(i) & 0x3F);
    }
    constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    valid = valid && value >= smallest[length] && value <= 0x10FFFF &&
            (value < 0xD800 || value > 0xDFFF);
    bytes = text.substr(0, valid ? length : 1);
    text.remove_prefix(bytes.size());
    return valid ? value : not_utf8;
}

struct Range {
    char32_t first, last;
};
constexpr Range combining[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x0610, 0x061A}, {0x064B, 0x065F},
    {0x0E31, 0x0E31}, {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF},
    {0x200B, 0x200F}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}};
constexpr Range wide[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0xA4CF},
                          {0xA960, 0xA97C},   {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},
                          {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},
                          {0x1F300, 0x1F64F}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};

template <std::size_t N>
bool is_in(const Range (&ranges)[N], char32_t character) {
    return std::any_of(std::begin(ranges), std::end(ranges), [&](const Range &range) {
        return character >= range.first && character <= range.last;
    });
}

bool steers_terminal(char32_t character) {
    // Control characters, and those that turn the direction of writing.
    return character < 0x20 || (character >= 0x7F && character <= 0x9F) ||
           (character >= 0x202A && character <= 0x202E) ||
           (character >= 0x2066 && character <= 0x2069);
}

constexpr std::string_view gap = "  ";

}  // namespace

std::size_t display_width(std::string_view text) {
    std::size_t width = 0;
    std::string_view bytes;
    while (!text.empty()) {
        const char32_t character = next_character(text, bytes);
        width += is_in(combining, character) ? 0u : is_in(wide, character) ? 2u : 1u;
    }
    return width;
}

std::string printable(std::string_view text) {
    std::string shown;
    std::string_view bytes;
    while (!text.empty()) {
        const char32_t character = next_character(text, bytes);
        if (character == not_utf8 || character < 0x100) {
            if (character == not_utf8 || steers_terminal(character)) {
                const auto code = character == not_utf8 ? static_cast<unsigned char>(bytes[0])
                                                        : static_cast<uint32_t>(character);
                shown += fmt::format("\\x{:02X}", code);
                continue;
            }
        } else if (steers_terminal(character)) {
            shown += fmt::format("\\u{:04X}", static_cast<uint32_t>(character));
            continue;
        }
        shown += bytes;
    }
    return shown;
}

std::string value_text(const Json &value) {
    if (value.is_null()) {
        return "-";
    }
    if (value.is_boolean()) {
        return value.get<bool>() ? "yes" : "no";
    }
    if (value.is_string()) {
        return printable(value.get_ref<const std::string &>());
    }
    if (value.is_array()) {
        std::string text;
        for (const Json &element : value) {
            text += (text.empty() ? "" : ", ") + value_text(element);
        }
        return text.empty() ? "none" : text;
    }
    return value.dump();
}

Json Column::of(const Json &row) const {
    if (make) {
        return make(row);
    }
    const Json::json_pointer place(pointer);
    return row.contains(place) ? row[place] : Json();
}

void Page::put(std::string_view text, Style style) {
    constexpr std::string_view codes[] = {"", "\x1b[1m", "\x1b[32m", "\x1b[2m", "\x1b[36m"};
    const std::string_view code = colour_ ? codes[static_cast<std::size_t>(style)] : "";
    text_ += code;
    text_ += text;
    text_ += code.empty() ? "" : "\x1b[0m";
}

void Page::end_line() {
    text_.erase(text_.find_last_not_of(' ') + 1);
    text_ += '\n';
}

void Page::title(std::string_view text) {
    heading(text);
    line(std::string(display_width(text), '='));
}

void Page::heading(std::string_view text) {
    if (!text_.empty()) {
        text_ += '\n';
    }
    put(text, Style::strong);
    end_line();
}

void Page::line(std::string_view text) {
    put(text, Style::plain);
    end_line();
}

void Page::pieces(const std::vector<Piece> &parts) {
    text_ += gap;
    for (const Piece &part : parts) {
        put(part.text, part.style);
    }
    end_line();
}

Page::Cell Page::cell(const Json &value) {
    const bool weak = value.is_null() || value == Json(false);
    return {value_text(value), value.is_number(),
            weak                  ? Style::weak
            : value == Json(true) ? Style::good
                                  : Style::plain};
}

void Page::fields(const Json &document, const std::vector<Column> &columns) {
    std::size_t width = 0;
    for (const Column &column : columns) {
        width = std::max(width, display_width(column.heading));
    }
    for (const Column &column : columns) {
        const Cell value = cell(column.of(document));
        text_ += gap;
        text_ += column.heading;
        text_.append(width - display_width(column.heading), ' ');
        text_ += gap;
        put(value.text, value.style);
        end_line();
    }
}

void Page::table(const Json &rows, const std::vector<Column> &columns) {
    if (rows.empty()) {
        text_ += gap;
        put("none", Style::weak);
        end_line();
        return;
    }
    std::vector<std::vector<Cell>> cells(1 + rows.size());
    std::vector<std::size_t> widths;
    for (const Column &column : columns) {
        bool numbers = false;
        for (std::size_t r = 0; r < rows.size(); ++r) {
            cells[r + 1].push_back(cell(column.of(rows[r])));
            numbers = numbers || cells[r + 1].back().number;
        }
        cells[0].push_back({column.heading, numbers, Style::strong});
        std::size_t width = 0;
        for (std::vector<Cell> &line : cells) {
            width = std::max(width, display_width(line.back().text));
            // What is absent stands with the numbers.
            line.back().number = line.back().number || (numbers && line.back().text == "-");
        }
        widths.push_back(width);
    }
    for (const std::vector<Cell> &line : cells) {
        for (std::size_t c = 0; c < line.size(); ++c) {
            const std::size_t blanks = widths[c] - display_width(line[c].text);
            text_ += gap;
            text_.append(line[c].number ? blanks : 0, ' ');
            put(line[c].text, line[c].style);
            text_.append(line[c].number ? 0 : blanks, ' ');
        }
        end_line();
    }
}

}  // namespace boardctl
