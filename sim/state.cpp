#include "state.h"

#include <fcntl.h>
#include <pthread.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>

namespace boardsim {

namespace {

std::string reason(int code) { return std::generic_category().message(code); }

std::mutex &list_guard() {
    static std::mutex guard;
    return guard;
}
SharedState *list_head = nullptr;

bool write_whole(int file, const void *data, size_t size) {
    const char *bytes = static_cast<const char *>(data);
    while (size > 0) {
        const ssize_t written = write(file, bytes, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        bytes += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

std::string absolute(const std::string &path) {
    char *full = realpath(path.c_str(), nullptr);
    if (full == nullptr) {
        return path;
    }
    std::string result = full;
    free(full);
    return result;
}

std::atomic<SharedState *> process_wide = nullptr;
std::atomic<bool> unusable = false;

}  // namespace

uint64_t hash_of(std::string_view text) {
    uint64_t hash = 0xCBF29CE484222325;  // FNV-1a
    for (const char c : text) {
        hash = (hash ^ static_cast<uint8_t>(c)) * 0x100000001B3;
    }
    return hash;
}

// The map has an open file of its own: a mapping that a child inherits keeps its file open, and
// with it a lock that a killed parent held.
SharedState::SharedState(const std::string &path) : path_(absolute(path)) {
    const int file = open(path_.c_str(), O_RDWR | O_CLOEXEC);
    if (file < 0) {
        throw Error(path + ": cannot be opened: " + reason(errno));
    }
    struct stat status = {};
    fstat(file, &status);
    device_ = status.st_dev;
    inode_ = status.st_ino;
    Header header = {};
    const bool whole = status.st_size == static_cast<off_t>(sizeof(State)) &&
                       pread(file, &header, sizeof(header), 0) == sizeof(header);
    if (!whole || std::memcmp(header.magic, state_magic, sizeof(state_magic)) != 0 ||
        header.version != state_version || header.size != sizeof(State)) {
        close(file);
        throw Error(path + ": is not a board state of this version");
    }
    void *map = mmap(nullptr, sizeof(State), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    const int code = errno;
    close(file);
    if (map == MAP_FAILED) {
        throw Error(path + ": cannot be mapped: " + reason(code));
    }
    state_ = static_cast<State *>(map);
    open_lock_file();
    enlist();
}

SharedState::SharedState() {
    void *map =
        mmap(nullptr, sizeof(State), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (map == MAP_FAILED) {
        throw Error("no memory for a board: " + reason(errno));
    }
    state_ = static_cast<State *>(map);
    enlist();
}

SharedState::~SharedState() {
    {
        const std::lock_guard guard(list_guard());
        SharedState **link = &list_head;
        while (*link != this) {
            link = &(*link)->next_;
        }
        *link = next_;
    }
    munmap(state_, sizeof(State));
    if (file_ >= 0 && lock_file_is_open()) {
        close(file_);
    }
}

void SharedState::enlist() {
    static std::atomic<bool> registered = false;
    if (!registered.exchange(true)) {
        pthread_atfork(before_fork, after_fork_in_parent, after_fork_in_child);
    }
    const std::lock_guard guard(list_guard());
    next_ = list_head;
    list_head = this;
}

void SharedState::before_fork() {
    list_guard().lock();
    for (SharedState *each = list_head; each != nullptr; each = each->next_) {
        each->mutex_.lock();
    }
}

void SharedState::after_fork_in_parent() {
    for (SharedState *each = list_head; each != nullptr; each = each->next_) {
        each->mutex_.unlock();
    }
    list_guard().unlock();
}

// The inherited descriptor is the parent's lock: kept, it would hold the lock for a dead parent.
void SharedState::after_fork_in_child() {
    for (SharedState *each = list_head; each != nullptr; each = each->next_) {
        if (each->file_ >= 0 && each->lock_file_is_open()) {
            close(each->file_);
        }
        each->file_ = -1;
    }
    after_fork_in_parent();
}

// A daemon may have closed all descriptors, and the number may be another file's by now.
bool SharedState::lock_file_is_open() const {
    struct stat status = {};
    return fstat(file_, &status) == 0 && status.st_dev == device_ && status.st_ino == inode_;
}

void SharedState::open_lock_file() { file_ = open(path_.c_str(), O_RDWR | O_CLOEXEC); }

void SharedState::lock() {
    mutex_.lock();
    if (path_.empty()) {
        return;
    }
    if (file_ < 0 || !lock_file_is_open()) {
        open_lock_file();
    }
    while (file_ >= 0 && flock(file_, LOCK_EX) != 0 && errno == EINTR) {
    }
}

void SharedState::unlock() {
    if (file_ >= 0) {
        flock(file_, LOCK_UN);
    }
    mutex_.unlock();
}

void write_state_file(const State &state, const std::string &path) {
    std::string temporary = path + ".XXXXXX";
    const int file = mkostemp(temporary.data(), O_CLOEXEC);
    if (file < 0) {
        throw Error(path + ": cannot be written: " + reason(errno));
    }
    // Other users' processes may belong to the same board.
    const bool written = write_whole(file, &state, sizeof(state)) && fchmod(file, 0666) == 0;
    const int code = errno;
    close(file);
    if (!written || rename(temporary.c_str(), path.c_str()) != 0) {
        const int last = written ? errno : code;
        unlink(temporary.c_str());
        throw Error(path + ": cannot be written: " + reason(last));
    }
}

// Threads that come first at the same time each open the file, and one of them is taken: no lock
// is held that a fork could leave locked in the child. The state is kept to the end of the process,
// when destructors of other libraries may still ask.
SharedState *process_state() {
    SharedState *found = process_wide.load();
    if (found != nullptr || unusable.load()) {
        return found;
    }
    const char *path = getenv("BOARDSIM_STATE");
    try {
        auto opened =
            path == nullptr ? std::make_unique<SharedState>() : std::make_unique<SharedState>(path);
        if (process_wide.compare_exchange_strong(found, opened.get())) {
            return opened.release();
        }
        return found;
    } catch (const Error &error) {
        if (!unusable.exchange(true)) {
            std::fprintf(stderr, "boardsim: %s\n", error.what());
        }
        return nullptr;
    }
}

}  // namespace boardsim
