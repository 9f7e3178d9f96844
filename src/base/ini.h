// A configuration file's handle, closed on every path.
#pragma once

#include "boardplatform/platform.h"

namespace bf {

class IniFile {
public:
    explicit IniFile(IniHandle handle) : handle_(handle) {}
    ~IniFile() {
        if (handle_ != nullptr) {
            IniCloseFile(handle_);
        }
    }
    IniFile(const IniFile &) = delete;
    IniFile &operator=(const IniFile &) = delete;

    explicit operator bool() const { return handle_ != nullptr; }
    IniHandle get() const { return handle_; }

private:
    IniHandle handle_;
};

}  // namespace bf
