// The two checks of domain names, compared with their rules over generated texts.
#include <dlfcn.h>
#include <unistd.h>

#include <cstring>

#include "boardfeatures/net.h"
#include "support/domain_model.h"
#include "support/latin1_locale.h"
#include "support/scripted_platform.h"

using domain_model::Verdict;
using scripted::platform;

namespace domain_model {
void PrintTo(const Verdict &verdict, std::ostream *out) {
    *out << verdict.result << " '" << verdict.logged << "' '" << verdict.printed << "'";
}
}  // namespace domain_model

// The platform's bounded copies: what they are asked, and a result that must not matter.
namespace {
struct Copy {
    size_t dest_size = 0;
    size_t count = 0;
    bool operator==(const Copy &) const = default;
} host_copy, directory_copy;
}  // namespace

extern "C" {
#define OBSERVED_COPY(name, seen)                                                                \
    int name(char *dest, size_t dest_size, const char *src, size_t count) {                      \
        seen = {dest_size, count};                                                               \
        reinterpret_cast<decltype(&name)>(dlsym(RTLD_NEXT, #name))(dest, dest_size, src, count); \
        return 34;                                                                               \
    }
OBSERVED_COPY(vel_strncpy_s, host_copy)
OBSERVED_COPY(strncpy_s, directory_copy)
}

namespace {

using Check = int32_t (*)(const char *);

// Standard output in a file that is looked at after each call.
class Said {
public:
    Said() : file_(tmpfile()), kept_(dup(1)) {
        std::fflush(stdout);
        dup2(fileno(file_), 1);
    }
    ~Said() {
        std::fflush(stdout);
        dup2(kept_, 1);
        close(kept_);
        std::fclose(file_);
    }
    std::string take() {
        std::fflush(stdout);
        char text[64] = {};
        const ssize_t size = pread(fileno(file_), text, sizeof(text), 0);
        if (size <= 0) {
            return "";
        }
        EXPECT_EQ(ftruncate(fileno(file_), 0), 0);
        lseek(fileno(file_), 0, SEEK_SET);
        return {text, static_cast<size_t>(size)};
    }

private:
    FILE *file_;
    int kept_;
};

// What a check answers, logs and prints; the log's place, channel and level are looked at here.
Verdict verdict_of(Check check, const char *text, Said &said) {
    platform().clear_record();
    Verdict verdict;
    verdict.result = check(text);
    verdict.printed = said.take();
    EXPECT_LE(platform().messages.size(), 1u);
    for (const scripted::Message &message : platform().messages) {
        EXPECT_EQ(message.channel, "dbgout");
        EXPECT_EQ(message.number, 130u);
        EXPECT_EQ(message.source, "vel_oal");
        EXPECT_GT(message.line, 0);
        verdict.logged = message.text;
    }
    return verdict;
}

void expect_model(const std::string &text, Said &said) {
    // At the end of what can be read, so that no byte behind the text is looked at unseen.
    const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
    ASSERT_EQ(verdict_of(OAL_VerifyDomain, exact.data(), said), domain_model::host_domain(text))
        << text;
    ASSERT_EQ(verdict_of(OAL_VerifyDomain_AD, exact.data(), said),
              domain_model::directory_domain(text))
        << text;
}

std::string joined(const std::vector<std::string> &labels) {
    std::string text;
    for (size_t i = 0; i < labels.size(); ++i) {
        text += (i == 0 ? "" : ".") + labels[i];
    }
    return text;
}

class Numbers {
public:
    uint32_t below(uint32_t limit) {
        state_ = state_ * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<uint32_t>(state_ >> 33) % limit;
    }

private:
    uint64_t state_ = 2024;
};

}  // namespace

TEST(Domains, AreCopiedIntoABound) {
    EXPECT_EQ(OAL_VerifyDomain("a.b"), 0);
    EXPECT_EQ(host_copy, (Copy{264, 264}));
    EXPECT_EQ(OAL_VerifyDomain_AD("a.b"), 0);
    EXPECT_EQ(directory_copy, (Copy{256, 256}));
}

// ---- the stated edges, written out ----

TEST(HostDomain, Edges) {
    const std::string label63(63, 'a');
    const std::string label64(64, 'a');
    const struct {
        std::string text;
        Verdict verdict;
    } edges[] = {
        {"example", {-1, "invalid domain!!!", ""}},
        {"", {-1, "invalid domain!!!", ""}},
        {"a.b", {0, "", ""}},
        {"a.b.c.d.e.f", {0, "", ""}},
        {"a.b.c.d.e.f.g", {-1, "invalid domain!!!", ""}},
        {"-a.lan", {-1, " First byte is not alpha||digit!!!", ""}},
        {"1a.lan", {0, "", ""}},
        {"a.-b.lan", {0, "", ""}},
        {"a-.lan", {0, "", ""}},
        {"a_b.lan", {-1, "Byte is invalid!!!", ""}},
        {"a.b_c.lan", {-1, "Byte is invalid!!!", ""}},
        {"a.b.c0m", {-1, "Byte is invalid!!!", ""}},
        {"a.b.c-m", {-1, "Byte is invalid!!!", ""}},
        {"a.b1", {-1, "Byte is invalid!!!", ""}},
        {"a..b1", {0, "", ""}},
        {".a.b1", {0, "", ""}},
        {"a.b1.", {0, "", ""}},
        {"a.", {0, "", ""}},
        {".a", {0, "", ""}},
        {".", {-1, " Strtok str is NULL!!!", ""}},
        {".....", {-1, " Strtok str is NULL!!!", ""}},
        {"......", {-1, "invalid domain!!!", ""}},
        {label63 + ".lan", {0, "", ""}},
        {label64 + ".lan", {-1, "Len is large 64!!!", ""}},
        {"a." + label63 + ".lan", {0, "", ""}},
        {"a." + label64 + ".lan", {-1, "", "Len is large 64!!! "}},
        {"a." + label63, {0, "", ""}},
        {"a." + label64, {-1, "", "Len is large 64!!! "}},
        {std::string(266, 'a'), {-1, "Invalid Domain Len!!!", ""}},
        {std::string(265, 'a'), {-1, "invalid domain!!!", ""}},
        // 265 characters, of which 263 are looked at
        {joined({label63, label63, label63, label63, "abcdefg1-"}), {0, "", ""}},
        {joined({label63, label63, label63, label63, "abcdef1-"}), {-1, "Byte is invalid!!!", ""}},
    };
    Said said;
    for (const auto &edge : edges) {
        EXPECT_EQ(verdict_of(OAL_VerifyDomain, edge.text.c_str(), said), edge.verdict) << edge.text;
        EXPECT_EQ(domain_model::host_domain(edge.text), edge.verdict) << "the model: " << edge.text;
    }
    EXPECT_EQ(verdict_of(OAL_VerifyDomain, nullptr, said), (Verdict{-1, " acIp is NULL!!!", ""}));
}

TEST(DirectoryDomain, Edges) {
    const std::string label63(63, 'a');
    const std::string label64(64, 'a');
    const Verdict valid = {0, "valid domain\n", ""};
    const struct {
        std::string text;
        Verdict verdict;
    } edges[] = {
        {"", {-1, "Domain is NULL!!!", ""}},
        {"a.b.c.d", valid},
        {"a.b.c.d.e", {-1, "error, domain level is larger than 4 !!", ""}},
        {"corp.example1", {-1, "Last byte is not alpha!!!", ""}},
        {"corp.abcdefg", {-1, "Last node is larger than 6!!!", ""}},
        {"corp.abcdef", valid},
        {"1corp.lan", {-1, "First byte is not alpha!!!", ""}},
        {"-corp.lan", {-1, "First byte is not alpha!!!", ""}},
        {"corp.lan.", {-1, "Last byte is not alpha!!!", ""}},
        {".corp.lan", {-1, "First byte is not alpha!!!", ""}},
        {"corp", {-1, "invalid domain level!!!", ""}},
        {"c-1.b-2.lan", valid},
        {"c_1.lan", {-1, "Byte is invalid!!!", ""}},
        {"corp.b_2.lan", {-1, "Byte is invalid!!!", ""}},
        {"corp.l1n", {-1, "Byte is invalid!!!", ""}},
        {"corp..l1n", valid},
        {"corp..abcdefg", valid},
        {label63 + ".lan", valid},
        {label64 + ".lan", {-1, "Len is larger than 63!!!", ""}},
        {"a." + label64 + ".lan", {-1, "Len is larger than 63!!! \n", ""}},
        {"a." + label64, {-1, "Len is larger than 63!!! \n", ""}},
        {joined({label63, label63, label63, label63}), {-1, "Last node is larger than 6!!!", ""}},
        {std::string(255, 'a'), {-1, "invalid domain level!!!", ""}},
        {std::string(256, 'a'), {-1, "Invalid Domain Len!!!", ""}},
        {std::string(300, 'a'), {-1, "Invalid Domain Len!!!", ""}},
        {std::string(255, 'a') + "1", {-1, "Last byte is not alpha!!!", ""}},
        {std::string(256, 'a') + "1", {-1, "Invalid Domain Len!!!", ""}},
        {"a.b.c.d.e" + std::string(300, 'a'), {-1, "error, domain level is larger than 4 !!", ""}},
        {std::string(256, 'a') + ".b.c.d.e", {-1, "Invalid Domain Len!!!", ""}},
    };
    Said said;
    for (const auto &edge : edges) {
        EXPECT_EQ(verdict_of(OAL_VerifyDomain_AD, edge.text.c_str(), said), edge.verdict)
            << edge.text;
        EXPECT_EQ(domain_model::directory_domain(edge.text), edge.verdict)
            << "the model: " << edge.text;
    }
    EXPECT_EQ(verdict_of(OAL_VerifyDomain_AD, nullptr, said),
              (Verdict{-1, " acIp is NULL!!!", ""}));
}

// ---- generated ----

TEST(Domains, LabelsOfEveryLengthInEveryPlace) {
    const size_t lengths[] = {0, 1, 6, 7, 63, 64};
    const char *fillings[] = {"a", "Z", "7", "-", "_"};
    Said said;
    for (size_t count = 1; count <= 8; ++count) {
        for (size_t place = 0; place < count; ++place) {
            for (const size_t length : lengths) {
                for (const char *filling : fillings) {
                    std::vector<std::string> labels(count, "ab");
                    labels[place].assign(length, filling[0]);
                    expect_model(joined(labels), said);
                    // the filling behind a letter, and one bad character at the label's end
                    if (length > 0) {
                        labels[place][0] = 'a';
                        expect_model(joined(labels), said);
                        labels[place].back() = '*';
                        expect_model(joined(labels), said);
                    }
                }
            }
        }
    }
}

TEST(Domains, EmptyLabelsInEveryPlace) {
    Said said;
    for (size_t count = 1; count <= 7; ++count) {
        for (unsigned empty = 0; empty < 1u << count; ++empty) {
            for (const char *label : {"ab", "a1", "1a", "abcdefg"}) {
                std::vector<std::string> labels(count, label);
                for (size_t i = 0; i < count; ++i) {
                    if ((empty >> i & 1) != 0) {
                        labels[i].clear();
                    }
                }
                expect_model(joined(labels), said);
            }
        }
    }
}

TEST(Domains, TotalLengths) {
    Said said;
    for (size_t size = 250; size <= 270; ++size) {
        for (size_t dots = 1; dots <= 7; ++dots) {
            // labels of 60 as far as they go, or all of the length in the first or the last
            for (int shape = 0; shape < 3; ++shape) {
                std::string text(size, 'a');
                for (size_t dot = 0; dot < dots; ++dot) {
                    text[shape == 0   ? std::min((dot + 1) * 60, size - 2 * (dots - dot))
                         : shape == 1 ? size - 2 * (dot + 1)
                                      : 2 * dot + 1] = '.';
                }
                expect_model(text, said);
                for (const char last : {'.', '1', '-', '_'}) {
                    std::string other = text;
                    other.back() = last;
                    expect_model(other, said);
                }
            }
        }
    }
}

TEST(Domains, RandomTexts) {
    const std::string alphabet = "abZ019-.....aaaaaaaa_ \t\x80\xC9\xE9\xFF\x01/:@[`{";
    Numbers numbers;
    Said said;
    for (int i = 0; i < 60000; ++i) {
        const uint32_t most = i % 20 == 0 ? 300 : 16;
        std::string text(numbers.below(most + 1), 'a');
        for (char &c : text) {
            // mostly what is allowed, so that the later rules are reached
            c = alphabet[numbers.below(numbers.below(4) == 0 ? alphabet.size() : 20)];
        }
        expect_model(text, said);
        if (testing::Test::HasFatalFailure()) {
            return;
        }
    }
}

TEST(Domains, EveryByteInEveryRole) {
    if (!latin1_locale::set()) {
        GTEST_SKIP() << "no locale with letters beyond ASCII can be made (localedef)";
    }
    Said said;
    for (int byte = 1; byte < 256; ++byte) {
        for (const char *form : {"?a.b.cd", "a?a.b.cd", "a.?.cd", "a.b?b.cd", "a.b.?", "a.b.c?d"}) {
            std::string text = form;
            text[text.find('?')] = static_cast<char>(byte);
            expect_model(text, said);
        }
    }
}
