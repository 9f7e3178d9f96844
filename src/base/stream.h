// A descriptor and a stream, closed on every path.
#pragma once

#include <unistd.h>

#include <cstdio>

namespace bf {

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) {
            close(number_);
        }
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    explicit operator bool() const { return number_ >= 0; }
    int get() const { return number_; }

private:
    int number_;
};

// Without a buffer a write that fails is seen where it happens, and nothing is allocated for one.
enum class Buffer { libc, none };

class Stream {
public:
    Stream(const char *path, const char *mode, Buffer buffer = Buffer::libc)
        : file_(std::fopen(path, mode)) {
        if (file_ != nullptr && buffer == Buffer::none) {
            std::setvbuf(file_, nullptr, _IONBF, 0);
        }
    }
    ~Stream() { close(); }
    Stream(const Stream &) = delete;
    Stream &operator=(const Stream &) = delete;

    explicit operator bool() const { return file_ != nullptr; }
    FILE *get() const { return file_; }
    // The number of bytes written: none without a file.
    std::size_t write(const void *bytes, std::size_t size) const {
        return file_ != nullptr ? std::fwrite(bytes, 1, size, file_) : 0;
    }
    void close() {
        if (file_ != nullptr) {
            std::fclose(file_);
            file_ = nullptr;
        }
    }

private:
    FILE *file_;
};

}  // namespace bf
