// How much stack the identification takes, measured: a thread's stack is painted, the chain runs,
// and what is no longer paint was used.
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "boardfeatures/pcieid_enum.h"
#include "support/instant_board.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define MEASURABLE false  // sanitizers lay frames out for themselves
#else
#define MEASURABLE true
#endif

namespace {

constexpr size_t stack_size = 512 * 1024;
constexpr unsigned char paint = 0xC5;
// The target's default thread stacks are small; this leaves room for the platform's own frames.
constexpr size_t allowed = 24 * 1024;

alignas(4096) unsigned char painted_stack[stack_size];
pcieid_workspace workspace;

int32_t run_result;

size_t stack_of(void *(*work)(void *)) {
    std::memset(painted_stack, paint, sizeof(painted_stack));
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    EXPECT_EQ(pthread_attr_setstack(&attributes, painted_stack, sizeof(painted_stack)), 0);
    pthread_t thread;
    EXPECT_EQ(pthread_create(&thread, &attributes, work, nullptr), 0);
    EXPECT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
    const auto *used = std::find_if(std::begin(painted_stack), std::end(painted_stack),
                                    [](unsigned char byte) { return byte != paint; });
    return static_cast<size_t>(std::end(painted_stack) - used);
}

// What a thread uses before it does anything.
size_t idle_stack() {
    return stack_of([](void *) -> void * { return nullptr; });
}

TEST(Stack, OfTheWholeIdentification) {
    if (!MEASURABLE) {
        GTEST_SKIP();
    }
    instant_board_reset();
    const size_t idle = idle_stack();
    const size_t used = stack_of([](void *) -> void * {
        run_result = pcieid_identify(&workspace, &workspace.identified);
        return nullptr;
    });
    EXPECT_EQ(run_result, 0);
    EXPECT_EQ(workspace.identified.count, 27u);
    EXPECT_EQ(instant_board_accesses(), 71u);
    std::printf("pcieid_identify: %zu bytes of stack\n", used - idle);
    EXPECT_LE(used - idle, allowed);
    EXPECT_GT(used - idle, 4096u) << "nothing was measured";
}

TEST(Stack, OfIdentifyingAndStoring) {
    if (!MEASURABLE) {
        GTEST_SKIP();
    }
    instant_board_reset();
    const size_t idle = idle_stack();
    const size_t used = stack_of([](void *) -> void * {
        run_result = pcieid_identify_and_store(&workspace);
        return nullptr;
    });
    EXPECT_EQ(run_result, 0);
    EXPECT_EQ(workspace.stored, 1u);
    std::printf("pcieid_identify_and_store: %zu bytes of stack\n", used - idle);
    EXPECT_LE(used - idle, allowed);
}

}  // namespace
