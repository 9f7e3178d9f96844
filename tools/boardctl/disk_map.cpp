// The machine's bays as a drawing: the backplanes of a side stand next to each other, narrow bays
// in a row, wide ones three above each other.
#include <algorithm>

#include "disks.h"

namespace boardctl {

namespace {

using PieceLine = std::vector<Page::Piece>;

constexpr std::size_t page_width = 78;
constexpr std::size_t block_gap = 1;
constexpr uint32_t wide_bays = 12;  // 3.5": three rows of four
constexpr uint32_t wide_rows = 3;

struct DrawnBlock {
    std::vector<PieceLine> lines;
    std::size_t width = 0;
};

Page::Piece plain_piece(std::string text) { return {std::move(text), Page::Style::plain}; }

std::size_t line_width(const PieceLine &line) {
    std::size_t width = 0;
    for (const Page::Piece &piece : line) {
        width += display_width(piece.text);
    }
    return width;
}

// ---- bays ----

Page::Piece bay_mark(const Json &disk) {
    if (disk["present"].is_null()) {
        return {"-", Page::Style::weak};
    }
    if (disk["present"] == false) {
        return {".", Page::Style::weak};
    }
    return disk["kind"] == "nvme"       ? Page::Piece{"N", Page::Style::accent}
           : disk["kind"] == "sas_sata" ? Page::Piece{"S", Page::Style::good}
                                        : Page::Piece{"?", Page::Style::strong};
}

// What stands on the bay, as far as it is known.
std::string bay_number(const Json &disk) {
    return (disk["silk_screen"].is_null() ? disk["slot"] : disk["silk_screen"]).dump();
}

PieceLine edge_of(std::size_t cells, std::size_t width) {
    std::string text = "+";
    for (std::size_t i = 0; i < cells; ++i) {
        text += std::string(width, '-') + "+";
    }
    return {plain_piece(text)};
}

std::vector<PieceLine> narrow_row(const std::vector<Json> &disks) {
    std::size_t width = 2;
    for (const Json &disk : disks) {
        width = std::max(width, bay_number(disk).size());
    }
    PieceLine numbers = {plain_piece("|")};
    PieceLine marks = {plain_piece("|")};
    for (const Json &disk : disks) {
        numbers.push_back(plain_piece(fmt::format("{:>{}}|", bay_number(disk), width)));
        Page::Piece mark = bay_mark(disk);
        marks.push_back(plain_piece(std::string(width - 1, ' ')));
        marks.push_back(std::move(mark));
        marks.push_back(plain_piece("|"));
    }
    const PieceLine edge = edge_of(disks.size(), width);
    return {edge, numbers, marks, edge};
}

// Counted down the columns.
std::vector<PieceLine> wide_grid(const std::vector<Json> &disks) {
    constexpr std::size_t columns = wide_bays / wide_rows;
    const PieceLine edge = edge_of(columns, 8);
    std::vector<PieceLine> lines = {edge};
    for (std::size_t row = 0; row < wide_rows; ++row) {
        PieceLine line = {plain_piece("|")};
        for (std::size_t column = 0; column < columns; ++column) {
            const Json &disk = disks[column * wide_rows + row];
            line.push_back(plain_piece(fmt::format("{:>4} ", bay_number(disk))));
            line.push_back(bay_mark(disk));
            line.push_back(plain_piece("  |"));
        }
        lines.push_back(std::move(line));
    }
    lines.push_back(edge);
    return lines;
}

// ---- backplanes ----

DrawnBlock block_of(const Json &connector, const Json &all) {
    std::vector<Json> disks;
    std::copy_if(all.begin(), all.end(), std::back_inserter(disks),
                 [&](const Json &disk) { return disk["card_key"] == connector["card_key"]; });
    std::string name = connector["connector"];
    if (!disks.empty()) {
        name += " " + value_text(connector["model"].is_null() ? connector["board_id"]
                                                              : connector["model"]);
    }
    DrawnBlock block = {{{{name, Page::Style::strong}}},
                        name.size() + block_gap};  // words stand apart
    if (disks.empty()) {
        block.lines.push_back({{"no bays", Page::Style::weak}});
    } else {
        const auto bays = disks.size() == wide_bays ? wide_grid(disks) : narrow_row(disks);
        block.lines.insert(block.lines.end(), bays.begin(), bays.end());
    }
    for (const PieceLine &line : block.lines) {
        block.width = std::max(block.width, line_width(line));
    }
    return block;
}

void show_block_row(Page &page, const std::vector<DrawnBlock> &blocks) {
    std::size_t height = 0;
    for (const DrawnBlock &block : blocks) {
        height = std::max(height, block.lines.size());
    }
    for (std::size_t i = 0; i < height; ++i) {
        PieceLine line;
        for (const DrawnBlock &block : blocks) {
            const PieceLine part = i < block.lines.size() ? block.lines[i] : PieceLine();
            line.insert(line.end(), part.begin(), part.end());
            line.push_back(
                plain_piece(std::string(block.width - line_width(part) + block_gap, ' ')));
        }
        page.pieces(line);
    }
}

// As many next to each other as fit.
void show_blocks(Page &page, const std::vector<DrawnBlock> &blocks) {
    std::vector<DrawnBlock> row;
    std::size_t width = 0;
    for (const DrawnBlock &block : blocks) {
        if (!row.empty() && width + block_gap + block.width > page_width) {
            show_block_row(page, row);
            row.clear();
            width = 0;
        }
        width += (row.empty() ? 0 : block_gap) + block.width;
        row.push_back(block);
    }
    if (!row.empty()) {
        show_block_row(page, row);
    }
}

// A connector's name begins with the side that it is on.
struct Side {
    const char *heading;
    std::string_view initials;
};
constexpr Side sides[] = {{"Front", "F"}, {"Middle", "M"}, {"Rear", "R"}};

}  // namespace

void show_disk_map(Page &page, const Json &document) {
    for (const Side &side : sides) {
        std::vector<DrawnBlock> blocks;
        for (const Json &connector : document["connectors"]) {
            if (connector["connector"].get_ref<const std::string &>().starts_with(side.initials)) {
                blocks.push_back(block_of(connector, document["disks"]));
            }
        }
        if (!blocks.empty()) {
            page.heading(side.heading);
            show_blocks(page, blocks);
        }
    }
    page.line("");
    page.line("  N NVMe, S SAS or SATA, ? type not stated, . empty, - not known");
}

}  // namespace boardctl
