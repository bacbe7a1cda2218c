// A growable text for many appends. For other programs of the family; the service itself does not use it.
#pragma once

#include <algorithm>
#include <cstddef>

#include "base/Text.h"

namespace ovs {

// The buffer is larger than its content, and appended text is written into it in place. When it is full it grows to
// double its size, at least to what is needed and never below 256 characters. Wiping keeps the buffer.
class Vell_String {
 public:
  void WipeString() { count_ = 0; }
  void AddNewLine() { Add(kCrLf); }

  // An empty line adds CR LF alone. Any other is preceded by CR LF while the line-break flag is set.
  void AddLine(TextView line) {
    if (line.empty() || lineBreaks_) AddNewLine();
    Add(line);
  }

  // `text` may not lie within this object.
  void Add(TextView text) {
    const std::size_t needed = count_ + text.size();
    if (needed > buffer_.size()) buffer_.resize(std::max({needed, buffer_.size() * 2, kSmallestBuffer}), kBlank);
    std::ranges::copy(text, buffer_.data() + count_);
    count_ = needed;
  }

  [[nodiscard]] Text GetStr() const { return buffer_.substr(0, count_); }

  [[nodiscard]] std::size_t Count() const { return count_; }

  // Set in a new object.
  [[nodiscard]] bool LineBreaks() const { return lineBreaks_; }
  void SetLineBreaks(bool on) { lineBreaks_ = on; }

 private:
  static constexpr std::size_t kSmallestBuffer = 256;

  Text buffer_;  // blanks behind the first count_ characters
  std::size_t count_ = 0;
  bool lineBreaks_ = true;
};

}  // namespace ovs
