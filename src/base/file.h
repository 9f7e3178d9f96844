// A file opened for rewriting, closed on every path. Unbuffered, so that a write that fails is seen
// where it happens and nothing is allocated for a buffer.
#pragma once

#include <cstdio>

namespace bf {

class OutputFile {
public:
    explicit OutputFile(const char *path) : stream_(std::fopen(path, "w+")) {
        if (stream_ != nullptr) {
            std::setvbuf(stream_, nullptr, _IONBF, 0);
        }
    }
    ~OutputFile() {
        if (stream_ != nullptr) {
            std::fclose(stream_);
        }
    }
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    explicit operator bool() const { return stream_ != nullptr; }
    // The number of bytes written: none without a file.
    size_t write(const void *bytes, size_t size) {
        return stream_ != nullptr ? std::fwrite(bytes, 1, size, stream_) : 0;
    }

private:
    FILE *stream_;
};

}  // namespace bf
