#pragma once

#include <unistd.h>
#include <utility>

namespace camera
{

/** Owns one file descriptor; -1 is none. */
class FileDescriptor
{
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor &&other) noexcept : descriptor_(other.release()) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept
    {
        reset(other.release());
        return *this;
    }
    ~FileDescriptor() { reset(); }

    [[nodiscard]] int get() const { return descriptor_; }
    [[nodiscard]] bool valid() const { return descriptor_ >= 0; }
    [[nodiscard]] int release() { return std::exchange(descriptor_, -1); }
    void reset(int descriptor = -1)
    {
        const int old = std::exchange(descriptor_, descriptor);
        if (old >= 0)
            ::close(old);
    }

  private:
    int descriptor_ = -1;
};

} // namespace camera
