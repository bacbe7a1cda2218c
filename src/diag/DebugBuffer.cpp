#include "diag/DebugBuffer.h"

#include <algorithm>

namespace ovs {

namespace {
constexpr TextView kSeparator = u"\r\n\r\n";
}

void DebugBuffer::Append(TextView entry) {
  if (entry.empty()) return;
  const std::size_t length = entry.size() + kSeparator.size();
  MakeRoom(length);
  Grow(length);
  if (bound_ == Bound::WholeEntries) lengths_.push_back(length);
  const auto target = text_.begin() + static_cast<std::ptrdiff_t>(used_ - forgotten_);
  std::copy(kSeparator.begin(), kSeparator.end(), std::copy(entry.begin(), entry.end(), target));
  used_ += length;
}

void DebugBuffer::Empty() noexcept {
  text_.clear();
  lengths_.clear();
  forgotten_ = capacity_ = used_ = droppedEntries_ = 0;
}

TextView DebugBuffer::UsedText() const noexcept {
  return TextView(text_).substr(0, static_cast<std::size_t>(used_ - forgotten_));
}

// By whole steps, so that a run of short entries grows the text once in a step. All arithmetic is that of a buffer which
// keeps everything; only the resize knows of the forgotten part.
void DebugBuffer::Grow(std::uint64_t length) {
  std::uint64_t capacity = capacity_;
  if (used_ + length > capacity) {
    const std::uint64_t step = std::max<std::uint64_t>(step_, 1);
    capacity += step * ((used_ + length - capacity - 1) / step + 1);
  }
  text_.resize(static_cast<std::size_t>(capacity - forgotten_), u' ');
  capacity_ = capacity;
}

// Room is made in large pieces, so that moving the rest to the front does not happen for every entry.
void DebugBuffer::MakeRoom(std::size_t length) {
  const auto held = static_cast<std::size_t>(used_ - forgotten_);
  if (held + length <= limit_) return;
  const std::size_t keep = length >= limit_ / 2 ? 0 : limit_ / 2;
  std::size_t surplus = held > keep ? held - keep : 0;
  if (bound_ == Bound::WholeEntries) {
    std::size_t whole = 0;
    while (whole < surplus) {
      whole += lengths_.front();
      lengths_.pop_front();
      ++droppedEntries_;
    }
    surplus = whole;
  }
  ForgetFront(surplus);
}

void DebugBuffer::ForgetFront(std::size_t length) {
  text_.erase(0, length);
  if (bound_ == Bound::Tail) {
    forgotten_ += length;
    return;
  }
  used_ -= length;
  // The capacity stays a whole number of steps; what the steps lack is filled up with blanks again by Grow.
  const std::uint64_t step = std::max<std::uint64_t>(step_, 1);
  capacity_ = (used_ + step - 1) / step * step;
  text_.resize(static_cast<std::size_t>(capacity_), u' ');
}

}  // namespace ovs
