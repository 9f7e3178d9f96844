// Curves, drawn in the terminal or as SVG.
#pragma once

#include <string>
#include <vector>

#include "page.h"

namespace boardctl {

struct Curve {
    std::string name;
    char mark;                   // what it is drawn with in the terminal
    std::vector<double> values;  // at each whole x from the axis's beginning on
};

// Both axes begin at 0 and are cut into equal intervals.
struct Axis {
    std::string name;
    unsigned to;
    unsigned intervals;
};

struct Chart {
    std::string title;
    Axis x;
    Axis y;
    bool stepped;  // a value holds from the x before up to its own; otherwise lines join them
    std::vector<Curve> curves;
};

void draw(Page &page, const Chart &chart);

// One picture, the charts below each other.
std::string svg_of(const std::string &title, const std::vector<Chart> &charts);

}  // namespace boardctl
