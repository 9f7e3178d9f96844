// Charts as SVG: vectors and text only, so that the picture can be scaled, searched and edited.
#include <algorithm>
#include <array>

#include "chart.h"

namespace boardctl {

namespace svg {
namespace {

// Of one chart, in the picture's units.
constexpr unsigned width = 720;
constexpr unsigned height = 400;
constexpr unsigned left = 64;
constexpr unsigned right = 24;
constexpr unsigned top = 76;
constexpr unsigned bottom = 56;
constexpr unsigned plot_width = width - left - right;
constexpr unsigned plot_height = height - top - bottom;
constexpr unsigned legend_step = 150;

// Told apart by people who see few colours as well; a dash lets a curve below show through.
struct Look {
    const char *colour;
    const char *dash;
};
constexpr std::array looks = {Look{"#0072b2", ""}, Look{"#d55e00", ""}, Look{"#009e73", "7 5"}};

std::string escaped(const std::string &text) {
    std::string safe;
    for (const char c : printable(text)) {
        switch (c) {
            case '&':
                safe += "&amp;";
                break;
            case '<':
                safe += "&lt;";
                break;
            case '>':
                safe += "&gt;";
                break;
            default:
                safe += c;
        }
    }
    return safe;
}

double x_of(const Chart &chart, double value) { return left + value * plot_width / chart.x.to; }
double y_of(const Chart &chart, double value) {
    return top + plot_height - value * plot_height / chart.y.to;
}

std::string grid(const Chart &chart) {
    std::string lines, labels;
    for (unsigned i = 0; i <= chart.x.intervals; ++i) {
        const unsigned value = i * chart.x.to / chart.x.intervals;
        const double x = x_of(chart, value);
        lines += fmt::format("M{:.1f} {}V{}", x, top, top + plot_height);
        labels += fmt::format("    <text class=\"x\" x=\"{:.1f}\" y=\"{}\">{}</text>\n", x,
                              top + plot_height + 20, value);
    }
    for (unsigned i = 0; i <= chart.y.intervals; ++i) {
        const unsigned value = i * chart.y.to / chart.y.intervals;
        const double y = y_of(chart, value);
        lines += fmt::format("M{} {:.1f}H{}", left, y, left + plot_width);
        labels += fmt::format("    <text class=\"y\" x=\"{}\" y=\"{:.1f}\">{}</text>\n", left - 8,
                              y + 4, value);
    }
    return fmt::format("    <path class=\"grid\" d=\"{}\"/>\n{}", lines, labels);
}

std::string path_of(const Chart &chart, const Curve &curve) {
    const std::size_t count = std::min<std::size_t>(curve.values.size(), chart.x.to + 1);
    std::string path;
    for (std::size_t i = 0; i < count; ++i) {
        const double x = x_of(chart, static_cast<double>(i));
        const double y = y_of(chart, curve.values[i]);
        if (i == 0) {
            path += fmt::format("M{:.1f} {:.1f}", x, y);
        } else if (!chart.stepped) {
            path += fmt::format("L{:.1f} {:.1f}", x, y);
        } else {  // one stroke a level
            if (curve.values[i] != curve.values[i - 1]) {
                path += fmt::format("H{:.1f}V{:.1f}", x_of(chart, static_cast<double>(i - 1)), y);
            }
            if (i + 1 == count) {
                path += fmt::format("H{:.1f}", x);
            }
        }
    }
    return path;
}

std::string body(const Chart &chart) {
    std::string text = fmt::format("    <text class=\"title\" x=\"{}\" y=\"28\">{}</text>\n", left,
                                   escaped(chart.title));
    text += grid(chart);
    text += fmt::format("    <text class=\"name\" x=\"{}\" y=\"{}\">{}</text>\n",
                        left + plot_width / 2, height - 14, escaped(chart.x.name));
    text += fmt::format(
        "    <text class=\"name\" transform=\"translate(18 {}) rotate(-90)\">{}</text>\n",
        top + plot_height / 2, escaped(chart.y.name));
    for (std::size_t i = 0; i < chart.curves.size(); ++i) {
        const Curve &curve = chart.curves[i];
        const Look &look = looks[i % looks.size()];
        const std::string stroke =
            fmt::format("stroke=\"{}\"{}", look.colour,
                        *look.dash != 0 ? fmt::format(" stroke-dasharray=\"{}\"", look.dash) : "");
        const std::size_t x = left + i * legend_step;
        text += fmt::format("    <path class=\"curve\" {} d=\"M{} 50h24\"/>\n", stroke, x);
        text += fmt::format("    <text x=\"{}\" y=\"54\">{}</text>\n", x + 32, escaped(curve.name));
        text +=
            fmt::format("    <path class=\"curve\" {} d=\"{}\"/>\n", stroke, path_of(chart, curve));
    }
    return text;
}

constexpr char style[] = R"(  <style>
    text { font: 13px system-ui, sans-serif; fill: #333 }
    .title { font-size: 16px; font-weight: 600 }
    .x, .name { text-anchor: middle }
    .y { text-anchor: end }
    .grid { stroke: #ddd; fill: none }
    .curve { stroke-width: 2.5; stroke-linejoin: round; fill: none }
  </style>
)";

}  // namespace
}  // namespace svg

std::string svg_of(const std::string &title, const std::vector<Chart> &charts) {
    const std::size_t whole = charts.size() * svg::height;
    std::string text = fmt::format(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}\" height=\"{1}\" "
        "viewBox=\"0 0 {0} {1}\" role=\"img\">\n  <title>{2}</title>\n{3}"
        "  <rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n",
        svg::width, whole, svg::escaped(title), svg::style);
    for (std::size_t i = 0; i < charts.size(); ++i) {
        text += fmt::format("  <g transform=\"translate(0 {})\">\n{}  </g>\n", i * svg::height,
                            svg::body(charts[i]));
    }
    return text + "</svg>\n";
}

}  // namespace boardctl
