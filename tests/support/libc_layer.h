// A layer over libc that a test watches the library's system calls through.
//
// Linked into a test program, its definitions win over libc's. While a Watch lives, each covered
// call is recorded and can be made to fail; then, and always without a Watch, libc itself answers.
// Calls that other libraries make, the platform's among them, are never recorded.
//
//     libc_layer::layer().fail_call = 3;            // the third call fails with layer().failure
//     {
//         const libc_layer::Watch watch;
//         OAL_SemCreate(1234);
//     }
//     EXPECT_THAT(libc_layer::layer().calls, ElementsAre("semget 1234 0 0x0", ...));
//
// To cover another function: add its definition at the end of libc_layer.cpp in the manner of those
// that are there.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace libc_layer {

struct Layer {
    // ---- faults: the call does not reach libc, errno is set, the result is the function's own for
    // a failure ----
    std::optional<size_t> fail_call;                        // the n-th recorded call, from 1
    int failure = 5;                                        // its errno (EIO)
    std::function<int(const std::string &call)> fail_with;  // an errno, 0 to let the call pass
    std::function<void(const std::string &call)> before;    // runs before the call, unrecorded
    std::map<std::string, std::string> redirected;          // opens of a path open another one
    // Streams opened meanwhile have what they transfer covered too: "read", "write".
    bool transfers = false;

    // ---- what happened ----
    // e.g. "semget 4129 1 0x7B6", "semop 4129 0:-1:0x1800", "shmat 4129 0x1000"; System V ids are
    // written as the keys that they were looked up by, "id 7" when they were not.
    std::vector<std::string> calls;

    // The recorded calls whose text begins with `prefix`.
    std::vector<std::string> calls_of(const std::string &prefix) const;
    void clear();  // faults and record
};

Layer &layer();

// Calls are recorded and failed while one of these lives, whatever thread makes them.
class Watch {
public:
    Watch();
    ~Watch();
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;
};

// What this process holds, counted before and after.
size_t open_descriptors();
// The attachments that all processes of the sandbox have to the key's segment; nothing when there
// is none.
std::optional<size_t> attachments(int32_t key);

}  // namespace libc_layer
