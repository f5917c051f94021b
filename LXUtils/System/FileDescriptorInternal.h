#pragma once

#include <utility>

#include <unistd.h>

namespace lx {

/// Owns one descriptor of the system, or none.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~FileDescriptor() {
    if (isOpen()) close(descriptor_);
  }

  int get() const { return descriptor_; }
  bool isOpen() const { return descriptor_ >= 0; }

 private:
  int descriptor_ = -1;
};

}  // namespace lx
