// A chart in the terminal: a character a point, "*" where curves meet.
#include <algorithm>
#include <array>
#include <cmath>

#include "chart.h"

namespace boardctl {

namespace {

constexpr unsigned columns_per_interval = 10;
constexpr unsigned least_rows = 15;
constexpr char several = '*';
constexpr std::array styles = {Page::Style::accent, Page::Style::strong, Page::Style::good};

class Drawing {
public:
    explicit Drawing(const Chart &chart)
        : rows_per_interval_((least_rows + chart.y.intervals - 1) / chart.y.intervals),
          rows_(chart.y.intervals * rows_per_interval_ + 1),
          columns_(chart.x.intervals * columns_per_interval + 1),
          cells_(rows_, std::string(columns_, ' ')),
          chart_(chart) {
        for (const Curve &curve : chart.curves) {
            for (unsigned column = 0; column < columns_; ++column) {
                put(curve, column);
            }
        }
    }

    void show(Page &page) const {
        page.line(fmt::format("  {}", chart_.y.name));
        for (unsigned row = rows_; row-- > 0;) {
            std::vector<Page::Piece> line = {{y_label(row), Page::Style::plain}};
            for (const char cell : cells_[row]) {
                const Page::Style style = style_of(cell);
                if (line.size() > 1 && line.back().style == style) {
                    line.back().text += cell;
                } else {
                    line.push_back({std::string(1, cell), style});
                }
            }
            page.pieces(line);
        }
        std::string rule = "|", numbers = "0";
        for (unsigned i = 1; i <= chart_.x.intervals; ++i) {
            rule += std::string(columns_per_interval - 1, '-') + "|";
            numbers.resize(std::size_t{i} * columns_per_interval, ' ');
            numbers += std::to_string(i * chart_.x.to / chart_.x.intervals);
        }
        const std::string margin(label_width + 4, ' ');
        page.line(margin + rule);
        page.line(margin + numbers + "  " + chart_.x.name);
        for (const Curve &curve : chart_.curves) {
            page.pieces({{"    ", Page::Style::plain},
                         {std::string(1, curve.mark), style_of(curve.mark)},
                         {"  " + curve.name, Page::Style::plain}});
        }
        const auto is_shared = [](const std::string &row) { return row.find(several) != row.npos; };
        if (std::any_of(cells_.begin(), cells_.end(), is_shared)) {
            page.pieces({{fmt::format("    {}  several of them", several), Page::Style::plain}});
        }
    }

private:
    static constexpr unsigned label_width = 4;

    void put(const Curve &curve, unsigned column) {
        const std::size_t x = column * chart_.x.to / (columns_ - 1);
        if (x >= curve.values.size()) {
            return;
        }
        const double height = curve.values[x] * (rows_ - 1) / chart_.y.to;
        const auto row = static_cast<unsigned>(std::clamp(std::round(height), 0.0, rows_ - 1.0));
        char &cell = cells_[row][column];
        cell = cell == ' ' ? curve.mark : several;
    }

    std::string y_label(unsigned row) const {
        if (row % rows_per_interval_ != 0) {
            return std::string(label_width, ' ') + " |";
        }
        return fmt::format("{:>{}} +", row * chart_.y.to / (rows_ - 1), +label_width);
    }

    Page::Style style_of(char cell) const {
        for (std::size_t i = 0; i < chart_.curves.size(); ++i) {
            if (chart_.curves[i].mark == cell) {
                return styles[i % styles.size()];
            }
        }
        return Page::Style::plain;
    }

    unsigned rows_per_interval_;
    unsigned rows_;
    unsigned columns_;
    std::vector<std::string> cells_;  // rows from below
    const Chart &chart_;
};

}  // namespace

void draw(Page &page, const Chart &chart) {
    page.heading(chart.title);
    Drawing(chart).show(page);
}

}  // namespace boardctl
