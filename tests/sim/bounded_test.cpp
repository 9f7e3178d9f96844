// The bounded functions: memory refuses what does not fit, texts are cut and terminated.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

#include "boardplatform/platform.h"

namespace {

TEST(Bounded, MemoryCopyRefusesWhatDoesNotFit) {
    for (const auto copy : {memcpy_s, vel_memcpy_s}) {
        char text[4] = "abc";
        EXPECT_EQ(copy(text, 4, "xyz", 4), 0);
        EXPECT_STREQ(text, "xyz");
        EXPECT_EQ(copy(text, 3, "1234", 4), -1);
        EXPECT_STREQ(text, "xyz");
        EXPECT_EQ(copy(text, 4, "", 0), 0);
        EXPECT_EQ(copy(nullptr, 4, "a", 1), -1);
        EXPECT_EQ(copy(text, 4, nullptr, 1), -1);
        EXPECT_EQ(copy(text + 1, 3, text, 3), 0);  // overlapping
        EXPECT_EQ(std::memcmp(text, "xxyz", 4), 0);
    }
}

TEST(Bounded, MemorySetRefusesWhatDoesNotFit) {
    for (const auto set : {memset_s, vel_memset_s}) {
        char text[4] = "abc";
        EXPECT_EQ(set(text, 4, 'x', 2), 0);
        EXPECT_STREQ(text, "xxc");
        EXPECT_EQ(set(text, 2, 'y', 3), -1);
        EXPECT_STREQ(text, "xxc");
        EXPECT_EQ(set(nullptr, 4, 0, 1), -1);
    }
}

TEST(Bounded, TextCopyCutsAndTerminates) {
    for (const auto copy : {strncpy_s, vel_strncpy_s}) {
        char text[5] = "****";
        EXPECT_EQ(copy(text, 5, "abc", 3), 0);
        EXPECT_STREQ(text, "abc");
        EXPECT_EQ(copy(text, 5, "abcdefgh", 8), 0);
        EXPECT_STREQ(text, "abcd");
        EXPECT_EQ(copy(text, 5, "abcdefgh", 2), 0);
        EXPECT_STREQ(text, "ab");
        EXPECT_EQ(copy(text, 1, "abc", 3), 0);
        EXPECT_STREQ(text, "");
        EXPECT_EQ(copy(text, 0, "abc", 3), -1);
        EXPECT_EQ(copy(nullptr, 5, "abc", 3), -1);
        EXPECT_EQ(copy(text, 5, nullptr, 3), -1);
    }
}

TEST(Bounded, TextAppendCutsAndTerminates) {
    char text[6] = "ab";
    EXPECT_EQ(vel_strncat_s(text, 6, "cd", 2), 0);
    EXPECT_STREQ(text, "abcd");
    EXPECT_EQ(vel_strncat_s(text, 6, "efgh", 4), 0);
    EXPECT_STREQ(text, "abcde");
    EXPECT_EQ(vel_strncat_s(text, 6, "x", 1), 0);
    EXPECT_STREQ(text, "abcde");
    char unterminated[2] = {'a', 'b'};
    EXPECT_EQ(vel_strncat_s(unterminated, 2, "x", 1), -1);
    EXPECT_EQ(vel_strncat_s(nullptr, 2, "x", 1), -1);
    EXPECT_EQ(vel_strncat_s(text, 6, nullptr, 1), -1);
    EXPECT_EQ(vel_strncat_s(text, 0, "x", 1), -1);
}

TEST(Bounded, PrintCutsAndTerminates) {
    for (const auto print : {snprintf_s, vel_snprintf_s}) {
        char text[5] = "****";
        EXPECT_EQ(print(text, 5, "%d-%s", 7, "x"), 0);
        EXPECT_STREQ(text, "7-x");
        EXPECT_EQ(print(text, 5, "%s", "longer"), 0);
        EXPECT_STREQ(text, "long");
        EXPECT_EQ(print(text, 0, "x"), -1);
        EXPECT_EQ(print(nullptr, 5, "x"), -1);
    }
}

TEST(Bounded, ScanReturnsTheNumberOfValues) {
    int first = 0;
    int second = 0;
    EXPECT_EQ(vel_sscanf_s("3 x", "%d %d", &first, &second), 1);
    EXPECT_EQ(vel_sscanf_s("3 4", "%d %d", &first, &second), 2);
    EXPECT_EQ(second, 4);
    EXPECT_EQ(vel_sscanf_s(nullptr, "%d", &first), -1);
}

TEST(Bounded, LengthStopsAtTheEnd) {
    for (const auto length : {strnlen_s, vel_strnlen_s}) {
        EXPECT_EQ(length("abc", 10), 3u);
        EXPECT_EQ(length("abc", 2), 2u);
        EXPECT_EQ(length(nullptr, 2), 0u);
    }
}

TEST(Bounded, NumberOfAText) {
    EXPECT_EQ(vel_atoi_s("42x"), 42);
    EXPECT_EQ(vel_atoi_s(" -7"), -7);
    EXPECT_EQ(vel_atoi_s("x"), 0);
    EXPECT_EQ(vel_atoi_s(nullptr), 0);
}

TEST(Bounded, Files) {
    FILE *file = nullptr;
    EXPECT_EQ(vel_fopen_s(&file, "/var/none", "r", 0, 0), -1);
    EXPECT_EQ(file, nullptr);
    EXPECT_EQ(vel_fopen_s(nullptr, "/var/none", "w", 0, 0), -1);
    EXPECT_EQ(vel_fopen_s(&file, nullptr, "w", 0, 0), -1);
    EXPECT_EQ(vel_fopen_s(&file, "/var/x", nullptr, 0, 0), -1);
    ASSERT_EQ(vel_fopen_s(&file, "/var/text", "w+", 0, 0), 0);
    std::fputs("one\ntwo\n", file);
    std::rewind(file);
    char line[16] = {};
    EXPECT_EQ(vel_fgets_s(line, sizeof(line), file), line);
    EXPECT_STREQ(line, "one\n");
    EXPECT_EQ(vel_fgets_s(line, 3, file), line);
    EXPECT_STREQ(line, "tw");
    EXPECT_EQ(vel_fgets_s(line, 0, file), nullptr);
    EXPECT_EQ(vel_fgets_s(nullptr, 3, file), nullptr);
    EXPECT_EQ(vel_fgets_s(line, 3, nullptr), nullptr);
    EXPECT_EQ(vel_fgets_s(line, sizeof(line), file), line);
    EXPECT_EQ(vel_fgets_s(line, sizeof(line), file), nullptr);
    EXPECT_EQ(vel_fclose_s(file), 0);
    EXPECT_EQ(vel_fclose_s(nullptr), -1);
}

}  // namespace
