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

class Stream {
public:
    Stream(const char *path, const char *mode) : file_(std::fopen(path, mode)) {}
    ~Stream() { close(); }
    Stream(const Stream &) = delete;
    Stream &operator=(const Stream &) = delete;

    explicit operator bool() const { return file_ != nullptr; }
    FILE *get() const { return file_; }
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
