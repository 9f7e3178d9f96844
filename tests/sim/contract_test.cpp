// The library exports the contract: all of it and nothing else.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "calls.h"

namespace {

std::set<std::string> declared() {
    std::stringstream text;
    text << std::ifstream(CONTRACT_HEADER).rdbuf();
    const std::string header = text.str();
    const std::regex declaration(
        R"((?:^|\n)(?:int|void|size_t|char|uint8_t|u?int32_t|IniHandle) +\*?(\w+)\()");
    std::set<std::string> names;
    for (std::sregex_iterator each(header.begin(), header.end(), declaration), end; each != end;
         ++each) {
        names.insert((*each)[1]);
    }
    return names;
}

std::set<std::string> exported() {
    FILE *output = popen("nm -D --defined-only " PLATFORM_LIBRARY, "r");
    std::set<std::string> names;
    char line[512];
    while (output != nullptr && std::fgets(line, sizeof(line), output) != nullptr) {
        char name[256] = {};
        char kind = 0;
        if (std::sscanf(line, "%*s %c %255s", &kind, name) == 2 && kind != 'A') {
            names.insert(name);
        }
    }
    EXPECT_EQ(pclose(output), 0);
    return names;
}

std::set<std::string> counted() {
    return {boardsim::call_names.begin(), boardsim::call_names.end()};
}

TEST(Contract, EveryDeclaredFunctionIsExportedAndNothingElse) {
    EXPECT_EQ(declared().size(), 57u);
    EXPECT_EQ(exported(), declared());
}

TEST(Contract, EveryFunctionIsCounted) {
    EXPECT_EQ(counted(), declared());
    EXPECT_EQ(counted().size(), boardsim::call_count);
}

TEST(Contract, FunctionsAreFoundByName) {
    EXPECT_EQ(boardsim::find_call("epldio_read"), boardsim::Call::epldio_read);
    EXPECT_EQ(boardsim::find_call("vel_fclose_s"), boardsim::Call::vel_fclose_s);
    EXPECT_EQ(boardsim::find_call("count"), std::nullopt);
}

}  // namespace
