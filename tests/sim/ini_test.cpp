// Configuration files: texts kept exactly, saves that are whole or not there.
#include <dirent.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <set>
#include <sstream>

#include "boardplatform/platform.h"

namespace {

constexpr const char *path = "/var/test.ini";

std::string file_text(const std::string &name = path) {
    std::stringstream text;
    text << std::ifstream(name).rdbuf();
    return text.str();
}
void write_file(const std::string &text) { std::ofstream(path) << text; }

std::string get(IniHandle ini, const char *section, const char *key,
                const char *fallback = "none") {
    char text[512] = {};
    EXPECT_EQ(IniGetStr(ini, section, key, fallback, text, sizeof(text)), 0);
    return text;
}

struct Ini {
    IniHandle handle;
    explicit Ini(IniHandle loaded) : handle(loaded) {}
    ~Ini() {
        if (handle != nullptr) {
            IniCloseFile(handle);
        }
    }
    Ini(const Ini &) = delete;
    Ini &operator=(const Ini &) = delete;
    operator IniHandle() const { return handle; }
};

std::set<std::string> names_in(const char *folder) {
    std::set<std::string> names;
    DIR *open = opendir(folder);
    while (const dirent *entry = readdir(open)) {
        if (entry->d_name[0] != '.') {
            names.insert(entry->d_name);
        }
    }
    closedir(open);
    return names;
}

class IniTexts : public testing::TestWithParam<const char *> {};

TEST_P(IniTexts, ComeBackExactly) {
    {
        const Ini ini(VEL_IniLoadFile(path));
        ASSERT_NE(ini.handle, nullptr);
        ASSERT_EQ(IniSetStr(ini, "section", "before", "1"), 0);
        ASSERT_EQ(IniSetStr(ini, "section", "key", GetParam()), 0);
        ASSERT_EQ(IniSetStr(ini, "section", "next", "2"), 0);
        EXPECT_EQ(get(ini, "section", "key"), GetParam());
        ASSERT_EQ(IniSaveFile(ini, path), 0);
        EXPECT_EQ(get(ini, "section", "key"), GetParam());
    }
    for (int round = 0; round < 2; ++round) {  // a second save of what was loaded
        const Ini ini(IniLoadFile(path));
        ASSERT_NE(ini.handle, nullptr);
        EXPECT_EQ(get(ini, "section", "key"), GetParam());
        EXPECT_EQ(get(ini, "section", "before"), "1");
        EXPECT_EQ(get(ini, "section", "next"), "2");
        ASSERT_EQ(IniSaveFile(ini, path), 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Texts, IniTexts,
                         testing::Values("plain", "", " ", " leading", "trailing ", "  both  ",
                                         "\tTab\t", "a b  c", "\"quoted\"", "\"", "\"\"",
                                         "half \"quoted", "\"start", "end\"", "'single'", "a=b",
                                         "=a", "[section]", ";comment", "#comment", "a ; b",
                                         "a # b", "<<<END", "<<<", "back\\slash", "100%",
                                         "\xC3\xA4\xE4\xB8\xAD", "0x10", "key = value",
                                         "two\nlines", "a\n\nb", "\n", "line\n", " \n "));

TEST(IniFile, MissingOrUnreadable) {
    EXPECT_EQ(IniLoadFile("/var/none.ini"), nullptr);
    EXPECT_EQ(IniLoadFile(nullptr), nullptr);
    EXPECT_EQ(VEL_IniLoadFile(nullptr), nullptr);
    EXPECT_EQ(VEL_IniLoadFile("/var/no/folder.ini"), nullptr);
    EXPECT_NE(access("/var/none.ini", F_OK), 0);
    mkdir("/var/folder.ini", 0755);
    EXPECT_EQ(IniLoadFile("/var/folder.ini"), nullptr);
}

TEST(IniFile, MissingOneIsEmptyAndCreatedByItsSave) {
    const Ini ini(VEL_IniLoadFile(path));
    ASSERT_NE(ini.handle, nullptr);
    EXPECT_NE(access(path, F_OK), 0);
    EXPECT_EQ(get(ini, "a", "b", "fallback"), "fallback");
    EXPECT_EQ(IniSetStr(ini, "a", "b", "c"), 0);
    EXPECT_EQ(IniSaveFile(ini, path), 0);
    EXPECT_EQ(file_text(), "[a]\nb=c\n");
}

TEST(IniFile, HandWrittenFileIsUnderstood) {
    write_file("; note\n[ one ]\n key = some text \nquoted = \" kept \"\n\n[two]\nkey=2\n");
    const Ini ini(IniLoadFile(path));
    ASSERT_NE(ini.handle, nullptr);
    EXPECT_EQ(get(ini, "one", "key"), "some text");
    EXPECT_EQ(get(ini, "one", "quoted"), " kept ");
    EXPECT_EQ(IniGetUInt(ini, "two", "key", 0), 2u);
}

TEST(IniFile, NamesAreCaseSensitive) {
    write_file("[a]\nKey=1\nkey=2\n[A]\nkey=3\n");
    const Ini ini(IniLoadFile(path));
    EXPECT_EQ(get(ini, "a", "Key"), "1");
    EXPECT_EQ(get(ini, "a", "key"), "2");
    EXPECT_EQ(get(ini, "A", "key"), "3");
}

TEST(IniFile, TextIsCutToTheBuffer) {
    const Ini ini(VEL_IniLoadFile(path));
    IniSetStr(ini, "a", "b", "abcdef");
    char text[4] = {};
    EXPECT_EQ(IniGetStr(ini, "a", "b", "", text, 4), 0);
    EXPECT_STREQ(text, "abc");
    EXPECT_EQ(IniGetStr(ini, "a", "none", "longer", text, 4), 0);
    EXPECT_STREQ(text, "lon");
    EXPECT_EQ(IniGetStr(ini, "a", "none", nullptr, text, 4), 0);
    EXPECT_STREQ(text, "");
}

TEST(IniFile, NumbersAreDecimal) {
    {
        const Ini ini(VEL_IniLoadFile(path));
        EXPECT_EQ(IniSetUInt(ini, "n", "u", 4294967295u), 0);
        EXPECT_EQ(IniSetSInt(ini, "n", "s", -2147483647 - 1), 0);
        EXPECT_EQ(IniSetChar(ini, "n", "c", 255), 0);
        EXPECT_EQ(IniSaveFile(ini, path), 0);
    }
    EXPECT_EQ(file_text(), "[n]\nu=4294967295\ns=-2147483648\nc=255\n");
    const Ini ini(IniLoadFile(path));
    EXPECT_EQ(IniGetUInt(ini, "n", "u", 1), 4294967295u);
    EXPECT_EQ(IniGetSInt(ini, "n", "s", 1), -2147483647 - 1);
    EXPECT_EQ(IniGetChar(ini, "n", "c", 1), 255);
}

TEST(IniFile, WhatIsNoNumberIsTheFallback) {
    write_file("[n]\nempty=\nword=x\nhalf=12x\nbig=4294967296\nminus=-1\nchar=256\nhex=0x1F\n");
    const Ini ini(IniLoadFile(path));
    for (const char *key : {"empty", "word", "half", "big", "none"}) {
        EXPECT_EQ(IniGetUInt(ini, "n", key, 77), 77u) << key;
        EXPECT_EQ(IniGetSInt(ini, "n", key, -77), -77) << key;
    }
    EXPECT_EQ(IniGetUInt(ini, "n", "minus", 77), 77u);
    EXPECT_EQ(IniGetSInt(ini, "n", "minus", 77), -1);
    EXPECT_EQ(IniGetChar(ini, "n", "char", 7), 7);
    EXPECT_EQ(IniGetUInt(ini, "n", "hex", 0), 31u);
    EXPECT_EQ(IniGetUInt(ini, "none", "hex", 5), 5u);
}

TEST(IniFile, EntriesAndSectionsAreDeleted) {
    write_file("[a]\nx=1\ny=2\n[b]\nz=3\n");
    const Ini ini(IniLoadFile(path));
    EXPECT_EQ(IniDelEntry(ini, "a", "x"), 0);
    EXPECT_EQ(IniDelEntry(ini, "a", "x"), -1);
    EXPECT_EQ(IniDelEntry(ini, "none", "x"), -1);
    EXPECT_EQ(get(ini, "a", "y"), "2");
    EXPECT_EQ(IniDelSection(ini, "b"), 0);
    EXPECT_EQ(IniDelSection(ini, "b"), -1);
    EXPECT_EQ(get(ini, "b", "z"), "none");
    EXPECT_EQ(IniSaveFile(ini, path), 0);
    EXPECT_EQ(file_text(), "[a]\ny=2\n");
}

TEST(IniFile, NullsAreRefused) {
    const Ini ini(VEL_IniLoadFile(path));
    char text[4] = {};
    EXPECT_EQ(IniGetStr(nullptr, "a", "b", "", text, 4), -1);
    EXPECT_EQ(IniGetStr(ini, "a", "b", "", nullptr, 4), -1);
    EXPECT_EQ(IniGetStr(ini, "a", "b", "", text, 0), -1);
    EXPECT_EQ(IniSetStr(nullptr, "a", "b", "c"), -1);
    EXPECT_EQ(IniSetStr(ini, nullptr, "b", "c"), -1);
    EXPECT_EQ(IniSetStr(ini, "a", nullptr, "c"), -1);
    EXPECT_EQ(IniSetStr(ini, "a", "b", nullptr), -1);
    EXPECT_EQ(IniSetUInt(nullptr, "a", "b", 1), -1);
    EXPECT_EQ(IniSetSInt(nullptr, "a", "b", 1), -1);
    EXPECT_EQ(IniSetChar(nullptr, "a", "b", 1), -1);
    EXPECT_EQ(IniGetUInt(nullptr, "a", "b", 9), 9u);
    EXPECT_EQ(IniGetSInt(ini, nullptr, "b", 9), 9);
    EXPECT_EQ(IniGetChar(ini, "a", nullptr, 9), 9);
    EXPECT_EQ(IniDelEntry(nullptr, "a", "b"), -1);
    EXPECT_EQ(IniDelEntry(ini, "a", nullptr), -1);
    EXPECT_EQ(IniDelSection(nullptr, "a"), -1);
    EXPECT_EQ(IniDelSection(ini, nullptr), -1);
    EXPECT_EQ(IniSaveFile(nullptr, path), -1);
    EXPECT_EQ(IniSaveFile(ini, nullptr), -1);
    IniCloseFile(nullptr);
}

TEST(IniFile, CarriageReturnsAreRefused) {
    const Ini ini(VEL_IniLoadFile(path));
    EXPECT_EQ(IniSetStr(ini, "a", "b", "kept"), 0);
    EXPECT_EQ(IniSetStr(ini, "a", "b", "\r"), -1);
    EXPECT_EQ(IniSetStr(ini, "a", "b", "two\r\nlines"), -1);
    EXPECT_EQ(get(ini, "a", "b"), "kept");
}

// ---- saves ----

TEST(IniSave, ReplacesTheFileInOneStepAndLeavesNothingBehind) {
    write_file("[a]\nb=old\n");
    std::ifstream reader(path);  // a reader of the old file goes on reading it
    struct stat before = {};
    stat(path, &before);
    const Ini ini(IniLoadFile(path));
    IniSetStr(ini, "a", "b", "new");
    EXPECT_EQ(IniSaveFile(ini, path), 0);
    struct stat after = {};
    stat(path, &after);
    EXPECT_NE(before.st_ino, after.st_ino);
    EXPECT_EQ(after.st_mode & 0777, 0644u);
    std::stringstream old;
    old << reader.rdbuf();
    EXPECT_EQ(old.str(), "[a]\nb=old\n");
    EXPECT_EQ(file_text(), "[a]\nb=new\n");
    EXPECT_EQ(names_in("/var"), std::set<std::string>{"test.ini"});
}

TEST(IniSave, FailedOneLeavesTheOldFileAndNothingElse) {
    write_file("[a]\nb=old\n");
    const Ini ini(IniLoadFile(path));
    IniSetStr(ini, "a", "b", "new");
    EXPECT_EQ(IniSaveFile(ini, "/var/no/folder.ini"), -1);
    mkdir("/var/taken", 0755);
    std::ofstream("/var/taken/file") << "x";
    EXPECT_EQ(IniSaveFile(ini, "/var/taken"), -1);  // a folder cannot be replaced
    EXPECT_EQ(names_in("/var"), (std::set<std::string>{"taken", "test.ini"}));
    EXPECT_EQ(file_text(), "[a]\nb=old\n");
}

TEST(IniSave, UnwritableFolder) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    mkdir("/var/locked", 0755);
    std::ofstream("/var/locked/a.ini") << "[a]\nb=1\n";
    chmod("/var/locked/a.ini", 0600);
    std::ofstream("/var/locked/b.ini") << "[a]\nb=1\n";
    ASSERT_EQ(seteuid(65534), 0);
    EXPECT_EQ(IniLoadFile("/var/locked/a.ini"), nullptr);
    EXPECT_EQ(VEL_IniLoadFile("/var/locked/a.ini"), nullptr);
    EXPECT_EQ(VEL_IniLoadFile("/var/locked/new.ini"), nullptr);
    {
        const Ini ini(IniLoadFile("/var/locked/b.ini"));
        EXPECT_NE(ini.handle, nullptr);
        EXPECT_EQ(IniSaveFile(ini, "/var/locked/b.ini"), -1);
    }
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_EQ(file_text("/var/locked/b.ini"), "[a]\nb=1\n");
}

TEST(IniSave, KeepsOrderAndComments) {
    write_file("; about\n\n[b]\n; of z\nz=1\na=2\n\n[a]\nx=3\n");
    const Ini ini(IniLoadFile(path));
    IniSetUInt(ini, "b", "a", 9);
    IniSetUInt(ini, "c", "new", 4);
    EXPECT_EQ(IniSaveFile(ini, path), 0);
    const std::string text = file_text();
    EXPECT_THAT(text, testing::HasSubstr("; about"));
    EXPECT_THAT(text, testing::HasSubstr("; of z"));
    EXPECT_LT(text.find("[b]"), text.find("[a]"));
    EXPECT_LT(text.find("z=1"), text.find("a=9"));
    EXPECT_LT(text.find("[a]"), text.find("[c]"));
}

}  // namespace
