#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace lx {

/// A record that never changes, shared by all copies, or none: like std::shared_ptr<const Record>, in half the space.
/// For values of which a document holds millions.
template <class Record>
class SharedRecord {
 public:
  SharedRecord() = default;
  explicit SharedRecord(Record record) : counted_(new Counted{std::move(record)}) {}
  SharedRecord(const SharedRecord& other) : counted_(other.counted_) { retain(); }
  SharedRecord(SharedRecord&& other) noexcept : counted_(std::exchange(other.counted_, nullptr)) {}
  SharedRecord& operator=(const SharedRecord& other) {
    // Sharing the same record already is common, and counting is what costs.
    if (this != &other && counted_ != other.counted_) *this = SharedRecord(other);
    return *this;
  }
  SharedRecord& operator=(SharedRecord&& other) noexcept {
    std::swap(counted_, other.counted_);
    return *this;
  }
  ~SharedRecord() { release(); }

  const Record* get() const { return counted_ ? &counted_->record : nullptr; }
  const Record* operator->() const { return &counted_->record; }
  const Record& operator*() const { return counted_->record; }
  explicit operator bool() const { return counted_ != nullptr; }

 private:
  struct Counted {
    Record record;
    std::atomic<std::uint32_t> owners{1};
  };

  void retain() const {
    if (counted_) counted_->owners.fetch_add(1, std::memory_order_relaxed);
  }
  void release() {
    if (counted_ && counted_->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) delete counted_;
  }

  Counted* counted_ = nullptr;
};

}  // namespace lx
