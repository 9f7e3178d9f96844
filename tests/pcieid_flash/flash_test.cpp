#include <sys/stat.h>
#include <unistd.h>

#include "support/flash_support.h"

using scripted::platform;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

constexpr char written_copy[] = "/var/mc2pld.pecd";
constexpr char read_copy[] = "/var/pld2mc.pecd";

std::string captured(const std::function<void()> &work) {
    testing::internal::CaptureStdout();
    work();
    return testing::internal::GetCapturedStdout();
}

// The mutex as one that notices when its own thread locks it twice.
class MutexError {
public:
    MutexError() {
        pthread_mutexattr_t kind;
        pthread_mutexattr_init(&kind);
        pthread_mutexattr_settype(&kind, PTHREAD_MUTEX_ERRORCHECK);
        pthread_mutex_init(&ufm_dev_mutex, &kind);
        pthread_mutexattr_destroy(&kind);
        pthread_mutex_lock(&ufm_dev_mutex);
    }
    ~MutexError() { pthread_mutex_unlock(&ufm_dev_mutex); }
};

}  // namespace

// ---- writing ----

TEST_F(FlashTest, WriteOfThreeItemsErasesAndWritesFourPages) {
    const pciecfg_list list = make_list(3);
    const model::Bytes image = model::image_of(list);
    const pciecfg_image stored = model::as_image(image);
    EXPECT_EQ(pciecfg_dev_write(&stored), 0);
    Calls expected = take_calls() + erase_calls();
    for (unsigned page = 0; page < 4; ++page) {
        expected = expected + page_write_calls(page, &image[16 * page]);
    }
    EXPECT_EQ(platform().calls, expected + release_calls());
    EXPECT_THAT(flash.commands, ElementsAre("E", "W 0", "W 1", "W 2", "W 3"));
    EXPECT_EQ(flash.content(64), model::Bytes(image.begin(), image.begin() + 64));
    EXPECT_EQ(flash.pages[4], scripted::Flash::erased_page());
    EXPECT_FALSE(flash.owned());
    EXPECT_EQ(file_bytes(written_copy), image);
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST_F(FlashTest, WriteOfAFullImageWritesAllItsPages) {
    const model::Bytes image = model::image_of(make_list(128));
    const pciecfg_image stored = model::as_image(image);
    EXPECT_EQ(pciecfg_dev_write(&stored), 0);
    EXPECT_THAT(flash.commands, SizeIs(1 + 129));
    EXPECT_EQ(flash.content(2064), image);
    EXPECT_EQ(flash.pages[129], scripted::Flash::erased_page());
}

TEST_F(FlashTest, OtherBitsOfControlAndPageRegistersStay) {
    flash.control = 0xA5C0;
    flash.page_address = 0x9123;
    const pciecfg_image stored = model::as_image(model::image_of(make_list(1)));
    EXPECT_EQ(pciecfg_dev_write(&stored), 0);
    EXPECT_EQ(flash.control, 0xA5C0);
    EXPECT_EQ(flash.page_address, 0x9001);
    EXPECT_THAT(platform().calls_of("epldio_write 0x344"),
                ElementsAre("epldio_write 0x344 0xA5E0", "epldio_write 0x344 0xA5FF",
                            "epldio_write 0x344 0xA5F1", "epldio_write 0x344 0xA5F1",
                            "epldio_write 0x344 0xA5C0"));
    EXPECT_THAT(platform().calls_of("epldio_write 0x346"),
                ElementsAre("epldio_write 0x346 0x9000", "epldio_write 0x346 0x9000",
                            "epldio_write 0x346 0x9001"));
}

TEST_F(FlashTest, WriteTakesTheEraseAndThirtyMillisecondsAPage) {
    flash.busy_looks = 1;
    const pciecfg_image stored = model::as_image(model::image_of(make_list(3)));
    EXPECT_EQ(pciecfg_dev_write(&stored), 0);
    EXPECT_EQ(scripted::virtual_now(), 20'000 + 5'000'000 + 4 * (20'000 + 10'000));
}

TEST_F(FlashTest, WriteOfAnInvalidImageTouchesNothing) {
    model::Bytes image = model::image_of(make_list(3));
    image[14] ^= 0x10;
    const pciecfg_image stored = model::as_image(image);
    int32_t result = 0;
    const std::string out = captured([&] { result = pciecfg_dev_write(&stored); });
    EXPECT_EQ(result, -1);
    char expected[80];
    std::snprintf(expected, sizeof(expected), "actual_hdrcrc=%04x, expect_hdrcrc=%04x\n",
                  model::crc(0x141, {image.data(), 14}), image[14] * 256u + image[15]);
    EXPECT_EQ(out, expected);
    EXPECT_THAT(log_lines(), ElementsAre("warn pciecfg_dev_write:, idata check failed.\n"));
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_EQ(file_bytes(written_copy), image);  // the copy shows what was handed in
}

TEST_F(FlashTest, ItemSizeBelowSixteenShortensTheWrite) {
    model::Bytes image = model::image_of(make_list(8));
    image[1] = 8;
    model::seal(image, 8 * 8);
    const pciecfg_image stored = model::as_image(image);
    EXPECT_EQ(pciecfg_dev_write(&stored), 0);
    EXPECT_THAT(flash.commands, ElementsAre("E", "W 0", "W 1", "W 2", "W 3", "W 4"));
}

TEST_F(FlashTest, WrittenCopyThatCannotBeOpenedIsReportedAndIgnored) {
    ASSERT_EQ(mkdir(written_copy, 0755), 0);
    const pciecfg_image stored = model::as_image(model::image_of(make_list(1)));
    EXPECT_EQ(pciecfg_dev_write(&stored), 0);
    EXPECT_THAT(log_lines(), ElementsAre("warn pciecfg_write_file: errno=21, Is a directory, "
                                         "wsize=0, expect is 2064\n"));
    EXPECT_THAT(flash.commands, ElementsAre("E", "W 0", "W 1"));
}

TEST_F(FlashTest, WrittenCopyThatDoesNotFitIsReportedAndIgnored) {
    ASSERT_EQ(symlink("/dev/full", written_copy), 0);
    const pciecfg_image stored = model::as_image(model::image_of(make_list(1)));
    EXPECT_EQ(pciecfg_dev_write(&stored), 0);
    EXPECT_THAT(log_lines(),
                ElementsAre("warn pciecfg_write_file: errno=28, No space left on device, "
                            "wsize=0, expect is 2064\n"));
    EXPECT_THAT(flash.commands, ElementsAre("E", "W 0", "W 1"));
}

TEST_F(FlashTest, CopiesAreRewrittenWhole) {
    std::ofstream(written_copy) << std::string(5000, 'x');
    std::ofstream(read_copy) << std::string(5000, 'x');
    const model::Bytes image = model::image_of(make_list(128));
    const pciecfg_image stored = model::as_image(image);
    EXPECT_EQ(pciecfg_dev_write(&stored), 0);
    pciecfg_image back;
    EXPECT_EQ(pciecfg_dev_read(&back), 0);
    EXPECT_EQ(file_bytes(written_copy), image);
    EXPECT_EQ(file_bytes(read_copy), image);
}

// ---- reading ----

TEST_F(FlashTest, ReadTakesAllPagesWhateverTheCount) {
    const model::Bytes image = model::image_of(make_list(1));
    store(model::Bytes(image.begin(), image.begin() + 32));
    pciecfg_image back;
    std::memset(&back, 0xEE, sizeof(back));
    EXPECT_EQ(pciecfg_dev_read(&back), 0);
    Calls expected = take_calls();
    for (unsigned page = 0; page < 129; ++page) {
        expected = expected + page_read_calls(page);
    }
    EXPECT_EQ(platform().calls, expected + release_calls());
    EXPECT_EQ(model::bytes_of(back), flash.content(2064));
    EXPECT_EQ(back.items[1][0], 0xFF);  // behind the last item the flash is erased
    EXPECT_EQ(file_bytes(read_copy), flash.content(2064));
    EXPECT_FALSE(file_exists(written_copy));
    EXPECT_THAT(platform().messages, IsEmpty());
    EXPECT_FALSE(flash.owned());
}

TEST_F(FlashTest, ReadOfAnErasedFlashFailsItsCheckButShowsWhatIsThere) {
    pciecfg_image back;
    int32_t result = 0;
    const std::string out = captured([&] { result = pciecfg_dev_read(&back); });
    EXPECT_EQ(result, -1);
    EXPECT_THAT(model::bytes_of(back), Each(0xFF));
    EXPECT_THAT(out, HasSubstr("expect_hdrcrc=ffff\n"));
    EXPECT_THAT(log_lines(), ElementsAre("warn pciecfg_dev_read: IS_PCIEDATA_VALID is false.\n"));
    EXPECT_EQ(file_bytes(read_copy), model::Bytes(2064, 0xFF));
}

TEST_F(FlashTest, ReadStopsAtThePageThatFails) {
    const model::Bytes image = model::image_of(make_list(3));
    store(image);
    platform().fail_if = [](const std::string &call) {
        return call == "epldio_write 0x346 0x0002";
    };
    pciecfg_image back;
    int32_t result = 0;
    const std::string out = captured([&] { result = pciecfg_dev_read(&back); });
    EXPECT_EQ(result, -1);
    EXPECT_THAT(out, StartsWith("actual_datacrc="));
    EXPECT_THAT(flash.commands, ElementsAre("R 0", "R 1"));
    EXPECT_THAT(log_lines(),
                ElementsAre("warn _epldwrite: epldio_write(reg=0346, val=0002) = -5.\n",
                            "warn pciecfg_dev_read:, ufm_page_read(pageidx=2, &regs=PTR) faild "
                            "retval = -5.\n",
                            "warn pciecfg_dev_read: IS_PCIEDATA_VALID is false.\n"));
    model::Bytes expected(2064, 0);
    std::copy(image.begin(), image.begin() + 32, expected.begin());
    EXPECT_EQ(model::bytes_of(back), expected);
    EXPECT_EQ(file_bytes(read_copy), expected);
    EXPECT_FALSE(flash.owned());
}

TEST_F(FlashTest, ReadWhoseFailedPageHoldsNoItemSucceeds) {
    store(model::image_of(make_list(3)));
    platform().fail_if = [](const std::string &call) {
        return call == "epldio_write 0x346 0x0004";
    };
    pciecfg_image back;
    EXPECT_EQ(pciecfg_dev_read(&back), 0);
}

TEST_F(FlashTest, ReadThatCannotReleaseSavesNoCopy) {
    store(model::image_of(make_list(3)));
    platform().fail_if = [](const std::string &call) {
        return call == "epldio_write 0x344 0x0000";
    };
    pciecfg_image back;
    EXPECT_EQ(pciecfg_dev_read(&back), -5);
    EXPECT_THAT(log_lines(),
                ElementsAre("warn _epldwrite: epldio_write(reg=0344, val=0000) = -5.\n",
                            "warn ufm_dev_unlock:, ufm_access_acquire() failed retval -5.\n",
                            "warn ufm_dev_unlock:, ufm_access_ok() failed.\n",
                            "warn ufm_dev_unlock:, pthread_mutex_unlock() failed retval -5.\n",
                            "warn pciecfg_dev_read: ufm_dev_unlock is false.\n"));
    EXPECT_FALSE(file_exists(read_copy));
    EXPECT_EQ(model::bytes_of(back), flash.content(2064));
}

TEST_F(FlashTest, ReadCopyThatCannotBeOpenedIsReportedAndIgnored) {
    store(model::image_of(make_list(3)));
    ASSERT_EQ(mkdir(read_copy, 0755), 0);
    pciecfg_image back;
    EXPECT_EQ(pciecfg_dev_read(&back), 0);
    EXPECT_THAT(log_lines(), ElementsAre("warn pciecfg_write_file: errno=21, Is a directory, "
                                         "wsize=0, expect is 2064\n"));
}

TEST_F(FlashTest, WhatIsWrittenIsRead) {
    for (const uint32_t count : {1u, 3u, 77u, 128u}) {
        const pciecfg_image stored = model::as_image(model::image_of(make_list(count, count)));
        pciecfg_image back;
        EXPECT_EQ(pciecfg_dev_write(&stored), 0);
        EXPECT_EQ(pciecfg_dev_read(&back), 0);
        EXPECT_EQ(std::memcmp(&stored, &back, 16 + 16 * count), 0);
    }
}

// ---- erasing ----

TEST_F(FlashTest, Erase) {
    store(model::image_of(make_list(3)));
    EXPECT_EQ(pciecfg_dev_erase(), 0);
    EXPECT_EQ(platform().calls, take_calls() + erase_calls() + release_calls());
    EXPECT_THAT(flash.content(2064), Each(0xFF));
}

TEST_F(FlashTest, EraseFailureIsLoggedAndTheReleaseIsTheResult) {
    for (const char *failing : {"epldio_write 0x346 0x0000", "epldio_write 0x344 0x003F"}) {
        platform().clear_record();
        platform().fail_if = [failing](const std::string &call) { return call == failing; };
        EXPECT_EQ(pciecfg_dev_erase(), 0);
        EXPECT_THAT(platform().messages.back().text,
                    HasSubstr("), ufm_erase() faild retval = -5.\n"));
        EXPECT_EQ(platform().messages.back().function, "pciecfg_dev_erase");
        EXPECT_THAT(platform().calls_of("select_sleep"), IsEmpty());
        EXPECT_THAT(flash.commands, IsEmpty());
        EXPECT_FALSE(flash.owned());
    }
}

TEST_F(FlashTest, WriteEndsWithAFailedErase) {
    platform().fail_if = [](const std::string &call) {
        return call == "epldio_write 0x344 0x003F";
    };
    const pciecfg_image stored = model::as_image(model::image_of(make_list(3)));
    EXPECT_EQ(pciecfg_dev_write(&stored), 0);
    EXPECT_EQ(platform().calls,
              take_calls() + page_calls(0) + command_calls(0x3F) + release_calls());
    EXPECT_THAT(log_lines(),
                ElementsAre("warn _epldwrite: epldio_write(reg=0344, val=003f) = -5.\n",
                            "warn pciecfg_dev_write:, ufm_erase() faild retval = -5.\n"));
}

TEST_F(FlashTest, WriteEndsWithAFailedPage) {
    platform().fail_if = [](const std::string &call) {
        return call == "epldio_write 0x346 0x0001";
    };
    const pciecfg_image stored = model::as_image(model::image_of(make_list(3)));
    EXPECT_EQ(pciecfg_dev_write(&stored), 0);
    EXPECT_THAT(flash.commands, ElementsAre("E", "W 0"));
    EXPECT_THAT(log_lines(),
                ElementsAre("warn _epldwrite: epldio_write(reg=0346, val=0001) = -5.\n",
                            "warn pciecfg_dev_write:, ufm_page_write(pageidx=1, &regs=PTR) faild "
                            "retval = -5.\n"));
    EXPECT_FALSE(flash.owned());
}

// ---- waiting ----

TEST_F(FlashTest, AFlashThatNeverCompletesTakesASecondAPageAndSucceeds) {
    flash.never_completes = true;
    flash.status1 = 0x1111;
    flash.status2 = 0x2222;
    const pciecfg_image stored = model::as_image(model::image_of(make_list(3)));
    EXPECT_EQ(pciecfg_dev_write(&stored), 0);
    // looks at 0, 20, ... 1020 ms: the first beyond the time-out is the last
    EXPECT_THAT(platform().calls_of("select_sleep 0 20000"), SizeIs(1501 + 4 * 51));
    EXPECT_THAT(platform().calls_of("epldio_read 0x34C"), SizeIs(1502 + 4 * 52));
    EXPECT_THAT(
        log_lines(),
        ElementsAre("warn ufm_wait_status: wait E timeout(30000 ms), STATUS1(1111) STATUS2(2222) "
                    "STATUS3(0000) MASK3(0100).\n",
                    "warn ufm_wait_status: wait W timeout(1000 ms), STATUS1(1111) STATUS2(2222) "
                    "STATUS3(0000) MASK3(0200).\n",
                    testing::_, testing::_, testing::_));
    const model::Bytes image = model::bytes_of(stored);
    EXPECT_EQ(flash.content(64), model::Bytes(image.begin(), image.begin() + 64));
    platform().clear_record();
    pciecfg_image back;
    EXPECT_EQ(pciecfg_dev_read(&back), 0);
    EXPECT_THAT(platform().messages, SizeIs(129));
    EXPECT_THAT(log_lines(),
                Each("warn ufm_wait_status: wait R timeout(1000 ms), STATUS1(1111) STATUS2(2222) "
                     "STATUS3(0000) MASK3(0400).\n"));
}

TEST_F(FlashTest, CompletionAtTheLastMomentIsNoTimeout) {
    flash.busy_looks = 50;  // done at 1000 ms
    pciecfg_image back;
    store(model::image_of(make_list(1)));
    EXPECT_EQ(pciecfg_dev_read(&back), 0);
    EXPECT_THAT(platform().messages, IsEmpty());
    EXPECT_EQ(scripted::virtual_now(), 129 * (1'000'000 + 10'000));
}

TEST_F(FlashTest, AnotherCommandsCompletionIsNotThisOnes) {
    // a status that shows everything but the erase
    const auto registers = platform().on_epld_read;
    platform().on_epld_read = [&](uint32_t reg, uint16_t *value) {
        const int result = registers(reg, value);
        if (reg == 0x34C) {
            *value = 0xFEFF;
        }
        return result;
    };
    EXPECT_EQ(pciecfg_dev_erase(), 0);
    EXPECT_THAT(log_lines(), ElementsAre(HasSubstr("wait E timeout(30000 ms), STATUS1(0000) "
                                                   "STATUS2(0000) STATUS3(feff) MASK3(0100).\n")));
}

TEST_F(FlashTest, AFailedLookAtStatus1Or2IsIgnored) {
    flash.busy_looks = 2;
    platform().fail_if = [](const std::string &call) {
        return call == "epldio_read 0x348" || call == "epldio_read 0x34A";
    };
    EXPECT_EQ(pciecfg_dev_erase(), 0);
    EXPECT_THAT(platform().calls_of("epldio_read 0x34C"), SizeIs(3));
    EXPECT_THAT(platform().messages, SizeIs(6));
    EXPECT_EQ(log_lines()[0], "warn _epldread: epldio_read(reg=0348, *val=0000) = -5.\n");
    EXPECT_EQ(log_lines()[1], "warn _epldread: epldio_read(reg=034a, *val=0000) = -5.\n");
}

TEST_F(FlashTest, AFailedLookAtStatus3EndsTheWait) {
    flash.busy_looks = 2;
    platform().fail_if = [](const std::string &call) { return call == "epldio_read 0x34C"; };
    EXPECT_EQ(pciecfg_dev_erase(), 0);
    EXPECT_EQ(platform().calls, take_calls() + erase_calls() + release_calls());
    EXPECT_THAT(log_lines(),
                ElementsAre("warn _epldread: epldio_read(reg=034c, *val=0000) = -5.\n"));
}

TEST_F(FlashTest, SleepsThatFailStopNothing) {
    platform().fail_if = [](const std::string &call) { return call.starts_with("select_sleep"); };
    const pciecfg_image stored = model::as_image(model::image_of(make_list(3)));
    EXPECT_EQ(pciecfg_dev_write(&stored), 0);
    EXPECT_THAT(platform().messages, IsEmpty());
}

// ---- ownership ----

TEST_F(FlashTest, OwnershipThatIsAlreadySetIsReportedAndTheWorkGoesOn) {
    flash.control = 0x20;
    EXPECT_EQ(pciecfg_dev_erase(), 0);
    EXPECT_THAT(log_lines(),
                ElementsAre("warn ufm_access_acquire:, BMC can not take over control.\n"));
    EXPECT_THAT(flash.commands, ElementsAre("E"));
    EXPECT_FALSE(flash.owned());
}

TEST_F(FlashTest, OwnershipThatStaysSetIsReportedAtBothEnds) {
    flash.ownership_stuck = true;
    EXPECT_EQ(pciecfg_dev_erase(), 0);
    EXPECT_THAT(log_lines(),
                ElementsAre("warn ufm_access_acquire:, BMC can not take over control.\n",
                            "warn ufm_dev_unlock:, ufm_access_ok() failed.\n"));
}

TEST_F(FlashTest, OwnershipThatDoesNotStickEndsTheOperation) {
    flash.ownership_denied = true;
    pciecfg_image image = model::as_image(model::image_of(make_list(3)));
    auto check = [&](int32_t result, const Calls &more_log) {
        EXPECT_EQ(result, -1);
        EXPECT_EQ(platform().calls, take_calls());
        EXPECT_EQ(log_lines(), Calls{"warn ufm_dev_lock:, ufm_access_ok() failed.\n"} + more_log);
        EXPECT_THAT(flash.commands, IsEmpty());
        EXPECT_TRUE(mutex_free());
        platform().clear_record();
    };
    check(pciecfg_dev_write(&image), {});
    check(pciecfg_dev_erase(), {});
    captured([&] { check(pciecfg_dev_dump(5), {}); });
    check(pciecfg_dev_dumpfile("/var/dump"), {});
    EXPECT_FALSE(file_exists("/var/dump"));
    check(pciecfg_dev_read(&image), {"warn pciecfg_dev_read: ufm_dev_lock is false.\n"});
    EXPECT_THAT(model::bytes_of(image), Each(0));
}

TEST_F(FlashTest, AnUnreadableOwnershipTestCountsAsOwned) {
    int reads = 0;
    platform().fail_if = [&](const std::string &call) {
        // the first and third read of the control register are the tests around the acquisition
        return call == "epldio_read 0x344" && (++reads == 1 || reads == 3);
    };
    EXPECT_EQ(pciecfg_dev_erase(), 0);
    EXPECT_THAT(log_lines(),
                ElementsAre("warn _epldread: epldio_read(reg=0344, *val=0000) = -5.\n",
                            "warn ufm_access_acquire:, BMC can not take over control.\n",
                            "warn _epldread: epldio_read(reg=0344, *val=0000) = -5.\n"));
    EXPECT_THAT(flash.commands, ElementsAre("E"));
}

TEST_F(FlashTest, FailedAcquisitionIsTheResult) {
    platform().fail_if = [](const std::string &call) {
        return call == "epldio_write 0x344 0x0020";
    };
    EXPECT_EQ(pciecfg_dev_erase(), -5);
    EXPECT_EQ(platform().calls,
              Calls({"epldio_read 0x344", "epldio_read 0x344", "epldio_write 0x344 0x0020"}));
    EXPECT_THAT(log_lines(),
                ElementsAre("warn _epldwrite: epldio_write(reg=0344, val=0020) = -5.\n",
                            "warn ufm_dev_lock:, ufm_access_acquire() failed retval -5.\n"));
    EXPECT_TRUE(mutex_free());
}

TEST_F(FlashTest, AMutexThatCannotBeLockedIsTheResult) {
    const MutexError held;
    pciecfg_image image = model::as_image(model::image_of(make_list(3)));
    EXPECT_EQ(pciecfg_dev_write(&image), EDEADLK);
    EXPECT_EQ(pciecfg_dev_erase(), EDEADLK);
    EXPECT_EQ(pciecfg_dev_dumpfile("/var/dump"), EDEADLK);
    captured([] { EXPECT_EQ(pciecfg_dev_dump(1), EDEADLK); });
    EXPECT_EQ(pciecfg_dev_read(&image), EDEADLK);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(log_lines()[0], "warn ufm_dev_lock:, pthread_mutex_lock() failed retval " +
                                    std::to_string(EDEADLK) + ".\n");
    EXPECT_FALSE(file_exists("/var/dump"));
}

TEST_F(FlashTest, AnErrorOfTheMutexLeavesTheParserWithAnEmptyImage) {
    const MutexError held;
    pciecfg_list list = make_list(2);
    const pciecfg_list before = list;
    const std::string out = captured([&] { EXPECT_EQ(pciecfg_data_parser(&list), -1); });
    char expected[80];
    const model::Bytes empty(14, 0);
    std::snprintf(expected, sizeof(expected), "actual_hdrcrc=%04x, expect_hdrcrc=0000\n",
                  model::crc(0x141, empty));
    EXPECT_EQ(out, expected);
    EXPECT_EQ(std::memcmp(&list, &before, sizeof(list)), 0);
    EXPECT_THAT(log_lines().back(), "warn pciecfg_data_parser: IS_PCIEDATA_VALID is false.\n");
}

TEST_F(FlashTest, NullIsRefusedBeforeAnything) {
    EXPECT_EQ(pciecfg_dev_write(nullptr), -1);
    EXPECT_EQ(pciecfg_dev_read(nullptr), -1);
    EXPECT_EQ(pciecfg_dev_dumpfile(nullptr), -1);
    EXPECT_EQ(pciecfg_data_update(nullptr), -1);
    EXPECT_EQ(pciecfg_data_parser(nullptr), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_THAT(platform().messages, IsEmpty());
    EXPECT_FALSE(file_exists(written_copy));
    EXPECT_FALSE(file_exists(read_copy));
}

// ---- dumps ----

namespace {
const std::string dump_head =
    "\n PAGE | 0000 0002 0004 0006 0008 000A 000C 000E\n" + std::string(48, '-') + "\n";
const std::string dump_rule = std::string(48, '-') + "\n";
}  // namespace

TEST_F(FlashTest, DumpOfNoPages) {
    EXPECT_EQ(captured([] { EXPECT_EQ(pciecfg_dev_dump(0), 0); }), dump_head + dump_rule);
    EXPECT_EQ(platform().calls, take_calls() + release_calls());
}

TEST_F(FlashTest, DumpPrintsWordsAndLeavesOutAFailedPage) {
    model::Bytes bytes;
    for (int i = 0; i < 48; ++i) {
        bytes.push_back(static_cast<uint8_t>(i + 0xA0));
    }
    store(bytes);
    platform().fail_if = [](const std::string &call) {
        return call == "epldio_write 0x346 0x0001";
    };
    EXPECT_EQ(captured([] { EXPECT_EQ(pciecfg_dev_dump(4), 0); }),
              dump_head + "    0 | a0a1 a2a3 a4a5 a6a7 a8a9 aaab acad aeaf \n" + "    1 | \n" +
                  "    2 | c0c1 c2c3 c4c5 c6c7 c8c9 cacb cccd cecf \n" +
                  "    3 | ffff ffff ffff ffff ffff ffff ffff ffff \n" + dump_rule);
}

TEST_F(FlashTest, DumpEndsWithTheLastPage) {
    const std::string out = captured([] { EXPECT_EQ(pciecfg_dev_dump(5000), 0); });
    EXPECT_THAT(flash.commands, SizeIs(2046));
    EXPECT_EQ(flash.commands.back(), "R 2045");
    EXPECT_THAT(out, HasSubstr("\n 2045 | ffff "));
    EXPECT_EQ(out.find(" 2046 | "), std::string::npos);
}

TEST_F(FlashTest, DumpThatCannotTakeTheFlashPrintsItsHeadOnly) {
    flash.ownership_denied = true;
    EXPECT_EQ(captured([] { EXPECT_EQ(pciecfg_dev_dump(3), -1); }), dump_head);
}

TEST_F(FlashTest, DumpThatCannotReleaseTheFlashLacksItsLastRule) {
    platform().fail_if = [](const std::string &call) {
        return call == "epldio_write 0x344 0x0000";
    };
    EXPECT_EQ(captured([] { EXPECT_EQ(pciecfg_dev_dump(0), -5); }), dump_head);
}

TEST_F(FlashTest, DumpFileHoldsEveryPage) {
    const model::Bytes image = model::image_of(make_list(128));
    store(image);
    platform().fail_if = [](const std::string &call) {
        return call == "epldio_write 0x346 0x0100";
    };
    EXPECT_EQ(pciecfg_dev_dumpfile("/var/dump"), 0);
    model::Bytes expected = flash.content(2046 * 16);
    const std::string fill = "DEADBEAFDEADBEAF";
    std::copy(fill.begin(), fill.end(), expected.begin() + 0x100 * 16);
    EXPECT_EQ(file_bytes("/var/dump"), expected);
    EXPECT_THAT(flash.commands, SizeIs(2045));
    EXPECT_THAT(log_lines(),
                ElementsAre("warn _epldwrite: epldio_write(reg=0346, val=0100) = -5.\n",
                            "warn pciecfg_dev_dumpfile:, ufm_page_read(page=256, &regs=PTR) = "
                            "-5.\n"));
}

TEST_F(FlashTest, DumpFileReplacesWhatWasThere) {
    std::ofstream("/var/dump") << std::string(50000, 'x');
    EXPECT_EQ(pciecfg_dev_dumpfile("/var/dump"), 0);
    EXPECT_EQ(file_bytes("/var/dump"), model::Bytes(2046 * 16, 0xFF));
}

TEST_F(FlashTest, DumpFileThatCannotBeOpenedJustReleases) {
    EXPECT_EQ(pciecfg_dev_dumpfile("/var/missing/dump"), 0);
    EXPECT_EQ(platform().calls, take_calls() + release_calls());
    EXPECT_THAT(platform().messages, IsEmpty());
}

TEST_F(FlashTest, DumpFileReportsEveryShortWrite) {
    EXPECT_EQ(pciecfg_dev_dumpfile("/dev/full"), 0);
    EXPECT_THAT(log_lines(), SizeIs(2046));
    EXPECT_THAT(log_lines(), Each("warn pciecfg_dev_dumpfile: fwrite() failed, errno=28, No space "
                                  "left on device\n"));
}

// ---- the list through the flash ----

TEST_F(FlashTest, UpdateStoresAndParserGivesBack) {
    for (const uint32_t count : {1u, 2u, 64u, 128u}) {
        const pciecfg_list list = make_list(count, 100 + count);
        pciecfg_list back;
        std::memset(&back, 0xEE, sizeof(back));
        EXPECT_EQ(pciecfg_data_update(&list), 0);
        EXPECT_EQ(pciecfg_data_parser(&back), 0);
        EXPECT_EQ(std::memcmp(&list, &back, sizeof(list)), 0) << count << " items";
        EXPECT_EQ(pciecfg_compare(&list, &back), 0);
    }
}

TEST_F(FlashTest, UpdateOfAnEmptyListTouchesNothing) {
    const pciecfg_list list = make_list(0);
    EXPECT_EQ(pciecfg_data_update(&list), -1);
    EXPECT_THAT(platform().calls, IsEmpty());
    EXPECT_FALSE(file_exists(written_copy));
    EXPECT_THAT(log_lines(),
                ElementsAre("warn pciecfg_v1_header_encode: databuf=PTR, datalen=0, invalid.\n",
                            "warn pciecfg_encode: pciecfg_header_encode(item_count=0, "
                            "item_size=16) failed retval = -1.\n",
                            "warn pciecfg_data_update: pciecfg_encode(pidata=PTR, &fmtdata=PTR) "
                            "failed retval = -1.\n"));
}

TEST_F(FlashTest, UpdateReportsANegativeWrite) {
    flash.ownership_denied = true;
    const pciecfg_list list = make_list(1);
    EXPECT_EQ(pciecfg_data_update(&list), -1);
    EXPECT_THAT(log_lines().back(),
                "warn pciecfg_data_update: pciecfg_dev_write(&fmtdata=PTR) "
                "failed retval = -1.\n");
}

TEST_F(FlashTest, UpdateHandsOnAPositiveErrorInSilence) {
    const MutexError held;
    const pciecfg_list list = make_list(1);
    EXPECT_EQ(pciecfg_data_update(&list), EDEADLK);
    EXPECT_THAT(log_lines().back(), HasSubstr("pthread_mutex_lock() failed"));
}

// ---- images with wrong fields ----

namespace {

struct ImageCase {
    const char *name;
    std::function<void(model::Bytes &)> spoil;
    int32_t result;
    uint32_t count;      // of the parsed list
    const char *output;  // begins what is printed
};

model::Bytes full_image() { return model::image_of(make_list(128, 5)); }

const ImageCase image_cases[] = {
    {"as written", [](model::Bytes &) {}, 0, 128, ""},
    {"version 2, sealed",
     [](model::Bytes &image) {
         image[0] = 2;
         model::seal(image, 2048);
     },
     0, 128, ""},
    {"version 2, not sealed", [](model::Bytes &image) { image[0] = 2; }, -1, 0, "actual_hdrcrc="},
    {"header CRC", [](model::Bytes &image) { image[15] ^= 1; }, -1, 0, "actual_hdrcrc="},
    {"header CRC from another start",
     [](model::Bytes &image) {
         model::put16(image, 14, model::crc(0, {image.data(), 14}));
     },
     -1, 0, "actual_hdrcrc="},
    {"signature",
     [](model::Bytes &image) {
         image[8] = 'p';
         model::seal(image, 2048);
     },
     -1, 0, "Signature: 70 43 49 45, invalid\n"},
    {"signature's last byte",
     [](model::Bytes &image) {
         image[11] = 0xAB;
         model::seal(image, 2048);
     },
     -1, 0, "Signature: 50 43 49 AB, invalid\n"},
    {"data CRC",
     [](model::Bytes &image) {
         model::put16(image, 4, 0x1234);
         model::put16(image, 14, model::crc(0x141, {image.data(), 14}));
     },
     -1, 0, "actual_datacrc="},
    {"an item", [](model::Bytes &image) { image[16 + 16 * 127 + 5] ^= 0x80; }, -1, 0,
     "actual_datacrc="},
    {"count 300 over 2048 bytes",
     [](model::Bytes &image) {
         model::put16(image, 2, 300);
         model::seal(image, 2048);
     },
     0, 128, ""},
    {"count 65535",
     [](model::Bytes &image) {
         model::put16(image, 2, 65535);
         model::seal(image, 2048);
     },
     0, 128, ""},
    {"count 0",
     [](model::Bytes &image) {
         model::put16(image, 2, 0);
         model::seal(image, 0);
     },
     0, 0, ""},
    {"count below what is there",
     [](model::Bytes &image) {
         model::put16(image, 2, 5);
         model::seal(image, 80);
     },
     0, 5, ""},
    {"item size 4 bounds the CRC only",
     [](model::Bytes &image) {
         image[1] = 4;
         model::seal(image, 512);
     },
     0, 128, ""},
    {"item size 0 leaves nothing to check",
     [](model::Bytes &image) {
         image[1] = 0;
         model::seal(image, 0);
     },
     0, 128, ""},
    {"item size 255 counts as 16",
     [](model::Bytes &image) {
         image[1] = 255;
         model::seal(image, 2048);
     },
     0, 128, ""},
    {"reserved bytes of the header",
     [](model::Bytes &image) {
         image[6] = image[7] = image[12] = image[13] = 0x77;
         model::seal(image, 2048);
     },
     0, 128, ""},
    {"item of type 9",
     [](model::Bytes &image) {
         image[16 + 4] = 9;
         model::seal(image, 2048);
     },
     0, 128, ""},
};

class Image : public FlashTest, public testing::WithParamInterface<int> {};

}  // namespace

TEST_P(Image, ParsedAsItsFieldsSay) {
    const ImageCase &test = image_cases[GetParam()];
    SCOPED_TRACE(test.name);
    model::Bytes image = full_image();
    test.spoil(image);
    store(image);
    pciecfg_list list;
    std::memset(&list, 0xEE, sizeof(list));
    const pciecfg_list before = list;
    const std::string out = captured([&] { EXPECT_EQ(pciecfg_data_parser(&list), test.result); });
    if (test.result != 0) {
        EXPECT_THAT(out, StartsWith(test.output));
        EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1);
        EXPECT_EQ(std::memcmp(&list, &before, sizeof(list)), 0) << "the caller's list is untouched";
        EXPECT_THAT(log_lines(),
                    ElementsAre("warn pciecfg_dev_read: IS_PCIEDATA_VALID is false.\n"));
        return;
    }
    EXPECT_EQ(out, "");
    pciecfg_list expected;
    std::memset(&expected, 0, sizeof(expected));
    expected.count = test.count;
    for (uint32_t k = 0; k < test.count; ++k) {
        const uint8_t *bytes = &image[16 + 16 * k];
        pciecfg_item &item = expected.items[k];
        item.cpu = bytes[0];
        item.x1_start = bytes[1];
        item.width = bytes[2];
        item.type = bytes[4];
        item.number = bytes[5];
        item.vpp_address = bytes[6] % 128;
        item.vpp_port = bytes[6] / 128;
        model::set_name(item);
    }
    EXPECT_EQ(std::memcmp(&list, &expected, sizeof(list)), 0);
}

TEST_P(Image, WrittenOnlyWhenItsFieldsAreRight) {
    const ImageCase &test = image_cases[GetParam()];
    SCOPED_TRACE(test.name);
    model::Bytes image = full_image();
    test.spoil(image);
    const pciecfg_image stored = model::as_image(image);
    const std::string out = captured([&] { EXPECT_EQ(pciecfg_dev_write(&stored), test.result); });
    EXPECT_THAT(out, StartsWith(test.output));
    EXPECT_EQ(platform().calls.empty(), test.result != 0);
}

INSTANTIATE_TEST_SUITE_P(Fields, Image,
                         testing::Range(0, static_cast<int>(std::size(image_cases))));

TEST_F(FlashTest, EverySingleBitFlipInTheUsedPagesIsRejected) {
    const model::Bytes good = model::image_of(make_list(3));
    pciecfg_list list = make_list(1);
    captured([&] {
        for (size_t bit = 0; bit < 64 * 8; ++bit) {
            model::Bytes image = good;
            image[bit / 8] ^= static_cast<uint8_t>(1u << bit % 8);
            const pciecfg_image stored = model::as_image(image);
            ASSERT_EQ(pciecfg_dev_write(&stored), -1) << "bit " << bit;
            ASSERT_THAT(platform().calls, IsEmpty());
            store(image);
            ASSERT_EQ(pciecfg_data_parser(&list), -1) << "bit " << bit;
            platform().clear_record();
            flash.commands.clear();
        }
    });
    EXPECT_EQ(list.count, 1u);
}
