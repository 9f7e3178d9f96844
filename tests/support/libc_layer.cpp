#include "support/libc_layer.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <net/if.h>
#include <net/route.h>
#include <netinet/in.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/select.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <mutex>
#include <sstream>
#include <type_traits>

namespace libc_layer {

namespace {

std::atomic<int> watches = 0;
// What the layer itself does is not recorded.
thread_local bool inside = false;

std::recursive_mutex &guard() {
    static std::recursive_mutex mutex;
    return mutex;
}

// Ids by the keys they were looked up with, which says more than the numbers.
std::map<int, int32_t> &semaphore_keys() {
    static std::map<int, int32_t> keys;
    return keys;
}
std::map<int, int32_t> &segment_keys() {
    static std::map<int, int32_t> keys;
    return keys;
}
std::map<const void *, std::string> &attached_keys() {
    static std::map<const void *, std::string> keys;
    return keys;
}

__attribute__((format(printf, 1, 2))) std::string text_of(const char *format, ...) {
    char text[1024];
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof(text), format, values);
    va_end(values);
    return text;
}

std::string key_text(std::map<int, int32_t> &keys, int id) {
    const std::lock_guard lock(guard());
    const auto found = keys.find(id);
    return found == keys.end() ? text_of("id %d", id) : text_of("%d", found->second);
}

// True for a call that another library makes: the platform, what it uses, the C++ library. The
// program itself counts as what is tested: a last call in a function of the library returns to it.
bool is_foreign(const void *caller) {
    Dl_info place = {};
    if (dladdr(caller, &place) == 0 || place.dli_fname == nullptr) {
        return false;
    }
    // Of the name alone: a folder above may be called as the library is.
    const std::string path = place.dli_fname;
    const std::string name = path.substr(path.rfind('/') + 1);
    return name.find(".so") != name.npos && !name.starts_with("libboardfeatures.so");
}

// Records the call; an errno when the script wants it to fail.
int record(const std::string &call) {
    std::function<void(const std::string &)> before;
    int error = 0;
    {
        const std::lock_guard lock(guard());
        Layer &script = layer();
        script.calls.push_back(call);
        if (script.fail_call && *script.fail_call == script.calls.size()) {
            error = script.failure;
        } else if (script.fail_with) {
            error = script.fail_with(call);
        }
        before = script.before;
    }
    if (before) {
        before(call);
    }
    return error;
}

bool is_covered(const void *caller) {
    return watches.load() != 0 && !inside && !is_foreign(caller);
}

// Asks the script, then libc. The text is made only when someone watches.
template <typename Text, typename Real>
auto through(const void *caller, std::invoke_result_t<Real> failed, Text text, Real real) {
    if (!is_covered(caller)) {
        return real();
    }
    const int before = errno;
    inside = true;
    const int error = record(text());
    inside = false;
    errno = before;
    if (error != 0) {
        errno = error;
        return failed;
    }
    return real();
}

template <typename Function>
Function libc(const char *name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

const char *command_text(int command) {
    switch (command) {
        case IPC_RMID:
            return "IPC_RMID";
        case IPC_STAT:
            return "IPC_STAT";
        case SETVAL:
            return "SETVAL";
        case GETVAL:
            return "GETVAL";
        default:
            return "?";
    }
}

std::string operations_text(const sembuf *operations, size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        text += text_of(" %u:%d:0x%X", operations[i].sem_num, operations[i].sem_op,
                        static_cast<unsigned>(operations[i].sem_flg));
    }
    return text;
}

std::string path_for(const char *path) {
    if (watches.load() != 0) {
        const std::lock_guard lock(guard());
        const auto found = layer().redirected.find(path);
        if (found != layer().redirected.end()) {
            return found->second;
        }
    }
    return path;
}

std::string address_text(const sockaddr &address) {
    sockaddr_in typed;
    std::memcpy(&typed, &address, sizeof(typed));
    const uint32_t host = ntohl(typed.sin_addr.s_addr);
    return text_of("%u:%u.%u.%u.%u", typed.sin_family, host >> 24, host >> 16 & 0xFF,
                   host >> 8 & 0xFF, host & 0xFF);
}

// The request, what it is about, and what it writes; addresses with their family before them.
std::string ioctl_text(unsigned long request, const void *argument) {
    const auto *interface = static_cast<const ifreq *>(argument);
    const auto *route = static_cast<const rtentry *>(argument);
    switch (request) {
#define READ_REQUEST(name) \
    case name:             \
        return text_of(#name " %.16s", interface->ifr_name)
        READ_REQUEST(SIOCGIFFLAGS);
        READ_REQUEST(SIOCGIFHWADDR);
        READ_REQUEST(SIOCGIFADDR);
        READ_REQUEST(SIOCGIFNETMASK);
        READ_REQUEST(SIOCGIFMTU);
#undef READ_REQUEST
        case SIOCSIFFLAGS:
            return text_of("SIOCSIFFLAGS %.16s 0x%X", interface->ifr_name,
                           static_cast<unsigned short>(interface->ifr_flags));
        case SIOCSIFHWADDR: {
            std::string text = text_of("SIOCSIFHWADDR %.16s %u:", interface->ifr_name,
                                       interface->ifr_hwaddr.sa_family);
            for (int i = 0; i < 6; ++i) {
                text += text_of("%02X", interface->ifr_hwaddr.sa_data[i] & 0xFF);
            }
            return text;
        }
        case SIOCSIFADDR:
            return text_of("SIOCSIFADDR %.16s ", interface->ifr_name) +
                   address_text(interface->ifr_addr);
        case SIOCSIFNETMASK:
            return text_of("SIOCSIFNETMASK %.16s ", interface->ifr_name) +
                   address_text(interface->ifr_netmask);
        case SIOCADDRT:
        case SIOCDELRT:
            return (request == SIOCADDRT ? "SIOCADDRT " : "SIOCDELRT ") +
                   address_text(route->rt_dst) + " " + address_text(route->rt_genmask) + " " +
                   address_text(route->rt_gateway) +
                   text_of(" 0x%X %s", route->rt_flags, route->rt_dev);
        default:
            return text_of("0x%lX", request);
    }
}

// A stream over another one, which lets its transfers through or not. libc calls these, on behalf
// of what is tested.
FILE *with_covered_transfers(FILE *file, const char *mode) {
    cookie_io_functions_t functions = {};
    functions.read = [](void *stream, char *bytes, size_t size) {
        return through(
            nullptr, ssize_t{-1}, [] { return std::string("read"); },
            [&] { return read(fileno(static_cast<FILE *>(stream)), bytes, size); });
    };
    functions.write = [](void *stream, const char *bytes, size_t size) {
        return through(
            nullptr, ssize_t{0}, [] { return std::string("write"); },
            [&] { return write(fileno(static_cast<FILE *>(stream)), bytes, size); });
    };
    functions.seek = [](void *stream, off64_t *offset, int origin) {
        *offset = lseek64(fileno(static_cast<FILE *>(stream)), *offset, origin);
        return *offset < 0 ? -1 : 0;
    };
    functions.close = [](void *stream) {
        return libc<decltype(&::fclose)>("fclose")(static_cast<FILE *>(stream));
    };
    return fopencookie(file, mode, functions);
}

std::string text_or_null(const char *text) { return text == nullptr ? "(null)" : text; }

}  // namespace

Layer &layer() {
    static Layer script;
    return script;
}

std::vector<std::string> Layer::calls_of(const std::string &prefix) const {
    std::vector<std::string> found;
    for (const std::string &call : calls) {
        if (call.starts_with(prefix)) {
            found.push_back(call);
        }
    }
    return found;
}

void Layer::clear() { *this = Layer(); }

Watch::Watch() {
    layer().calls.reserve(4096);
    ++watches;
}
Watch::~Watch() { --watches; }

size_t open_descriptors() {
    size_t count = 0;
    DIR *folder = opendir("/proc/self/fd");
    while (folder != nullptr && readdir(folder) != nullptr) {
        ++count;
    }
    if (folder != nullptr) {
        closedir(folder);
    }
    return count - 3;  // ".", ".." and the folder itself
}

std::optional<size_t> attachments(int32_t key) {
    std::ifstream table("/proc/sysvipc/shm");
    std::string line;
    std::getline(table, line);
    while (std::getline(table, line)) {
        std::istringstream fields(line);
        long long row_key = 0, id = 0, size = 0, creator = 0, last = 0;
        std::string permissions;
        size_t attached = 0;
        fields >> row_key >> id >> permissions >> size >> creator >> last >> attached;
        if (row_key == key) {
            return attached;
        }
    }
    return std::nullopt;
}

}  // namespace libc_layer

using namespace libc_layer;

#define CALLER __builtin_return_address(0)
#define LIBC(function) libc<decltype(&::function)>(#function)

extern "C" {

// ---- System V semaphores ----

int semget(key_t key, int count, int flags) noexcept {
    const int id = through(
        CALLER, -1, [&] { return text_of("semget %d %d 0x%X", key, count, flags); },
        [&] { return LIBC(semget)(key, count, flags); });
    if (id != -1 && watches.load() != 0) {
        const std::lock_guard lock(guard());
        semaphore_keys()[id] = key;
    }
    return id;
}

int semop(int id, sembuf *operations, size_t count) noexcept {
    return through(
        CALLER, -1,
        [&] {
            return "semop " + key_text(semaphore_keys(), id) + operations_text(operations, count);
        },
        [&] { return LIBC(semop)(id, operations, count); });
}

int semtimedop(int id, sembuf *operations, size_t count, const timespec *timeout) noexcept {
    return through(
        CALLER, -1,
        [&] {
            return "semtimedop " + key_text(semaphore_keys(), id) +
                   operations_text(operations, count) +
                   text_of(" %lld.%09ld", static_cast<long long>(timeout->tv_sec),
                           static_cast<long>(timeout->tv_nsec));
        },
        [&] { return LIBC(semtimedop)(id, operations, count, timeout); });
}

int semctl(int id, int number, int command, ...) noexcept {
    union {
        int value;
        void *pointer;
    } argument = {};
    if (command == SETVAL || command == IPC_STAT || command == IPC_SET || command == GETALL ||
        command == SETALL) {
        va_list values;
        va_start(values, command);
        argument.pointer = va_arg(values, void *);
        va_end(values);
    }
    return through(
        CALLER, -1,
        [&] {
            std::string text = "semctl " + key_text(semaphore_keys(), id) +
                               text_of(" %d %s", number, command_text(command));
            return command == SETVAL ? text + text_of(" %d", argument.value) : text;
        },
        [&] { return LIBC(semctl)(id, number, command, argument.pointer); });
}

// ---- System V segments ----

int shmget(key_t key, size_t size, int flags) noexcept {
    const int id = through(
        CALLER, -1, [&] { return text_of("shmget %d %zu 0x%X", key, size, flags); },
        [&] { return LIBC(shmget)(key, size, flags); });
    if (id != -1 && watches.load() != 0) {
        const std::lock_guard lock(guard());
        segment_keys()[id] = key;
    }
    return id;
}

void *shmat(int id, const void *address, int flags) noexcept {
    void *attached = through(
        CALLER, reinterpret_cast<void *>(-1),
        [&] { return "shmat " + key_text(segment_keys(), id) + text_of(" 0x%X", flags); },
        [&] { return LIBC(shmat)(id, address, flags); });
    if (watches.load() != 0) {
        const std::lock_guard lock(guard());
        attached_keys()[attached] = key_text(segment_keys(), id);
    }
    return attached;
}

int shmdt(const void *address) noexcept {
    return through(
        CALLER, -1,
        [&] {
            const std::lock_guard lock(guard());
            const auto found = attached_keys().find(address);
            return "shmdt " + (found == attached_keys().end() ? "?" : found->second);
        },
        [&] { return LIBC(shmdt)(address); });
}

int shmctl(int id, int command, shmid_ds *status) noexcept {
    return through(
        CALLER, -1,
        [&] { return "shmctl " + key_text(segment_keys(), id) + " " + command_text(command); },
        [&] { return LIBC(shmctl)(id, command, status); });
}

// ---- POSIX semaphores ----

sem_t *sem_open(const char *name, int flags, ...) noexcept {
    mode_t mode = 0;
    unsigned value = 0;
    if ((flags & O_CREAT) != 0) {
        va_list values;
        va_start(values, flags);
        mode = static_cast<mode_t>(va_arg(values, unsigned));
        value = va_arg(values, unsigned);
        va_end(values);
    }
    return through(
        CALLER, SEM_FAILED,
        [&] {
            return text_of("sem_open %s 0x%X 0%o %u", name, flags, static_cast<unsigned>(mode),
                           value);
        },
        [&] { return LIBC(sem_open)(name, flags, mode, value); });
}

#define SEM_CALL(function, nothrow)                             \
    int function(sem_t *handle) nothrow {                       \
        return through(                                         \
            CALLER, -1, [&] { return std::string(#function); }, \
            [&] { return LIBC(function)(handle); });            \
    }
SEM_CALL(sem_close, noexcept)
SEM_CALL(sem_post, noexcept)
SEM_CALL(sem_trywait, noexcept)
SEM_CALL(sem_wait, )

int sem_timedwait(sem_t *handle, const timespec *deadline) {
    return through(
        CALLER, -1,
        [&] {
            return text_of("sem_timedwait %lld.%09ld", static_cast<long long>(deadline->tv_sec),
                           static_cast<long>(deadline->tv_nsec));
        },
        [&] { return LIBC(sem_timedwait)(handle, deadline); });
}

int sem_unlink(const char *name) noexcept {
    return through(
        CALLER, -1, [&] { return text_of("sem_unlink %s", name); },
        [&] { return LIBC(sem_unlink)(name); });
}

// ---- time ----

int clock_gettime(clockid_t clock, timespec *now) noexcept {
    return through(
        CALLER, -1, [&] { return text_of("clock_gettime %d", static_cast<int>(clock)); },
        [&] { return LIBC(clock_gettime)(clock, now); });
}

// ---- files ----

int open(const char *path, int flags, ...) {
    mode_t mode = 0;
    if ((flags & (O_CREAT | __O_TMPFILE)) != 0) {
        va_list values;
        va_start(values, flags);
        mode = static_cast<mode_t>(va_arg(values, unsigned));
        va_end(values);
    }
    return through(
        CALLER, -1,
        [&] {
            return text_of("open %s 0x%X 0%o", path, static_cast<unsigned>(flags),
                           static_cast<unsigned>(mode));
        },
        [&] { return LIBC(open)(path_for(path).c_str(), flags, mode); });
}

// A close that fails has given its file back all the same.
int close(int descriptor) {
    const int failed = through(
        CALLER, -1, [] { return std::string("close"); }, [] { return 0; });
    const int error = errno;
    const int closed = LIBC(close)(descriptor);
    if (failed != 0) {
        errno = error;
    }
    return failed != 0 ? failed : closed;
}

void *mmap(void *address, size_t length, int protection, int flags, int descriptor,
           off_t offset) noexcept {
    return through(
        CALLER, MAP_FAILED,
        [&] {
            return text_of("mmap %zu 0x%X 0x%X 0x%llX", length, protection, flags,
                           static_cast<unsigned long long>(offset));
        },
        [&] { return LIBC(mmap)(address, length, protection, flags, descriptor, offset); });
}

int munmap(void *address, size_t length) noexcept {
    return through(
        CALLER, -1, [&] { return text_of("munmap %zu", length); },
        [&] { return LIBC(munmap)(address, length); });
}

FILE *fopen(const char *path, const char *mode) {
    FILE *file = through(
        CALLER, static_cast<FILE *>(nullptr), [&] { return text_of("fopen %s %s", path, mode); },
        [&] { return LIBC(fopen)(path_for(path).c_str(), mode); });
    return file != nullptr && layer().transfers && is_covered(CALLER)
               ? with_covered_transfers(file, mode)
               : file;
}

int fclose(FILE *file) {
    const int failed = through(
        CALLER, EOF, [] { return std::string("fclose"); }, [] { return 0; });
    const int error = errno;
    const int closed = LIBC(fclose)(file);
    if (failed != 0) {
        errno = error;
    }
    return failed != 0 ? failed : closed;
}

int access(const char *path, int mode) noexcept {
    return through(
        CALLER, -1, [&] { return text_of("access %s %d", text_or_null(path).c_str(), mode); },
        [&] { return LIBC(access)(path, mode); });
}

int unlink(const char *path) noexcept {
    return through(
        CALLER, -1, [&] { return text_of("unlink %s", path); }, [&] { return LIBC(unlink)(path); });
}

int mkdir(const char *path, mode_t mode) noexcept {
    return through(
        CALLER, -1, [&] { return text_of("mkdir %s 0%o", path, static_cast<unsigned>(mode)); },
        [&] { return LIBC(mkdir)(path, mode); });
}

int rename(const char *from, const char *to) noexcept {
    return through(
        CALLER, -1, [&] { return text_of("rename %s %s", from, to); },
        [&] { return LIBC(rename)(from, to); });
}

int fseek(FILE *file, long offset, int origin) {
    return through(
        CALLER, -1, [&] { return text_of("fseek %ld %d", offset, origin); },
        [&] { return LIBC(fseek)(file, offset, origin); });
}

long ftell(FILE *file) {
    return through(
        CALLER, -1L, [] { return std::string("ftell"); }, [&] { return LIBC(ftell)(file); });
}

// It cannot fail.
void sync() noexcept {
    through(
        CALLER, 0, [] { return std::string("sync"); },
        [] {
            LIBC(sync)();
            return 0;
        });
}

// ---- sockets ----

int socket(int domain, int type, int protocol) noexcept {
    return through(
        CALLER, -1, [&] { return text_of("socket %d %d %d", domain, type, protocol); },
        [&] { return LIBC(socket)(domain, type, protocol); });
}

int ioctl(int descriptor, unsigned long request, ...) noexcept {
    va_list values;
    va_start(values, request);
    void *argument = va_arg(values, void *);
    va_end(values);
    return through(
        CALLER, -1, [&] { return "ioctl " + ioctl_text(request, argument); },
        [&] { return LIBC(ioctl)(descriptor, request, argument); });
}

// ---- processes ----

pid_t fork() noexcept {
    return through(
        CALLER, -1, [] { return std::string("fork"); }, [] { return LIBC(fork)(); });
}

int execl(const char *path, const char *argument, ...) noexcept {
    std::vector<char *> arguments;
    va_list values;
    va_start(values, argument);
    for (const char *each = argument; each != nullptr; each = va_arg(values, const char *)) {
        arguments.push_back(const_cast<char *>(each));
    }
    va_end(values);
    arguments.push_back(nullptr);
    return through(
        CALLER, -1,
        [&] {
            std::string text = text_of("execl %s", path);
            for (size_t i = 0; arguments[i] != nullptr; ++i) {
                text += std::string(" ") + arguments[i];
            }
            return text;
        },
        [&] { return execv(path, arguments.data()); });
}

pid_t waitpid(pid_t process, int *status, int options) {
    return through(
        CALLER, -1, [&] { return text_of("waitpid %d", options); },
        [&] { return LIBC(waitpid)(process, status, options); });
}

int kill(pid_t process, int signal) noexcept {
    return through(
        CALLER, -1, [&] { return text_of("kill %d %d", process, signal); },
        [&] { return LIBC(kill)(process, signal); });
}

// ---- sleeping ----

int usleep(useconds_t microseconds) {
    return through(
        CALLER, -1, [&] { return text_of("usleep %u", microseconds); },
        [&] { return LIBC(usleep)(microseconds); });
}

// One that fails has slept nothing.
unsigned sleep(unsigned seconds) {
    return through(
        CALLER, seconds, [&] { return text_of("sleep %u", seconds); },
        [&] { return LIBC(sleep)(seconds); });
}

int select(int count, fd_set *readable, fd_set *writable, fd_set *exceptional, timeval *timeout) {
    return through(
        CALLER, -1,
        [&] {
            return text_of("select %d %lld.%06ld", count, static_cast<long long>(timeout->tv_sec),
                           static_cast<long>(timeout->tv_usec));
        },
        [&] { return LIBC(select)(count, readable, writable, exceptional, timeout); });
}

}  // extern "C"
