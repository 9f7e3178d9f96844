// boardctl's reading of FRU data, over arbitrary bytes: everything that it tells lies within them,
// and how far they reach is found in a bounded number of reads.
#include "../tools/boardctl/fru_image.cpp"  // NOLINT(bugprone-suspicious-include)

#include <cstdlib>

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace boardctl;
    const FruImage image = decode_fru({data, size});
    require(image.has_header || image.areas.empty());
    require(image.has_header || !image.problems.empty());
    for (const FruArea &area : image.areas) {
        require(area.offset + area.length <= size && area.length % 8 == 0);
        size_t characters = 0;
        for (const FruField &field : area.fields) {
            characters += field.text.size();
        }
        require(characters <= 2 * area.length);
        if (area.manufactured) {
            require(fru_time(*area.manufactured).size() == 16);
        }
    }
    size_t reads = 0;
    const auto extent = fru_extent([&](size_t offset, std::span<uint8_t> bytes) {
        require(++reads <= 4 + 0x10000 / 5 + 1);
        if (offset > size || bytes.size() > size - offset) {
            return false;
        }
        std::copy_n(data + offset, bytes.size(), bytes.begin());
        return true;
    });
    require(!extent || *extent >= fru_header_size);
    return 0;
}
