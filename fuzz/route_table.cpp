// What /proc/net/route may say. The kernel is not asked: requests are counted and answered with
// success.
#include <arpa/inet.h>
#include <dlfcn.h>
#include <net/route.h>
#include <sys/ioctl.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <regex>
#include <string>
#include <string_view>

#include "boardfeatures/net.h"

namespace {

const uint8_t *text;
size_t text_size;
bool is_replaced;
size_t deletions;

constexpr char interface[] = "eth0";

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

struct Expected {
    std::string first;  // gateway
    size_t count = 0;
};
// Of a table whose every line is written as the kernel writes it; nothing for all others.
std::optional<Expected> expected_of(std::string_view table) {
    static const std::regex form("([a-z0-9]{1,15})\t([0-9A-F]{8})\t([0-9A-F]{8})\t[0-9A-F]{4}\t.*");
    Expected expected;
    bool heading = true;
    while (!table.empty()) {
        const size_t end = table.find('\n');
        if (end == table.npos || end > 200) {
            return std::nullopt;
        }
        const std::string line(table.substr(0, end));
        table.remove_prefix(end + 1);
        std::smatch fields;
        if (heading) {
            heading = false;
        } else if (!std::regex_match(line, fields, form) || line.find('\0') != line.npos) {
            return std::nullopt;
        } else if (fields[1] == interface && fields[2] == "00000000") {
            const auto gateway = static_cast<uint32_t>(std::stoul(fields[3].str(), nullptr, 16));
            const auto *bytes = reinterpret_cast<const uint8_t *>(&gateway);
            if (expected.count++ == 0) {
                for (int i = 0; i < 4; ++i) {
                    expected.first += (i == 0 ? "" : ".") + std::to_string(bytes[i]);
                }
            }
        }
    }
    return expected;
}

}  // namespace

extern "C" {

FILE *fopen(const char *path, const char *mode) {
    static const auto next =
        reinterpret_cast<FILE *(*)(const char *, const char *)>(dlsym(RTLD_NEXT, "fopen"));
    if (!is_replaced || std::string_view(path) != "/proc/net/route") {
        return next(path, mode);
    }
    FILE *file = tmpfile();
    if (file != nullptr) {
        std::fwrite(text, 1, text_size, file);
        std::rewind(file);
    }
    return file;
}

int ioctl(int, unsigned long request, ...) noexcept {
    require(request == SIOCDELRT);
    ++deletions;
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    text = data;
    text_size = size;
    is_replaced = true;
    deletions = 0;
    char gateway[OAL_ADDRESS_TEXT_SIZE] = "untouched";
    const uint32_t read = OAL_GetEthGateWay(interface, gateway);
    const uint32_t deleted = OAL_DelEthGateWay(interface, "");
    is_replaced = false;

    require(read == 0 && deleted == 0);
    require(std::memchr(gateway, '\0', sizeof(gateway)) != nullptr);
    in_addr address;
    const bool found = std::strcmp(gateway, "untouched") != 0;
    require(!found || inet_pton(AF_INET, gateway, &address) == 1);
    require(found == (deletions != 0));
    const std::string_view table(reinterpret_cast<const char *>(data), size);
    require(!found || table.find(interface) != table.npos);
    if (const auto expected = expected_of(table)) {
        require(deletions == expected->count);
        require(!found || expected->first == gateway);
    }
    return 0;
}

}  // extern "C"
