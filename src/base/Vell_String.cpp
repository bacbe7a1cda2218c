#include "base/Vell_String.h"

#include <algorithm>

namespace ovs {

namespace {

constexpr std::size_t kSmallestBuffer = 256;

}  // namespace

void Vell_String::AddLine(TextView line) {
  if (line.empty() || lineBreaks_) AddNewLine();
  Add(line);
}

void Vell_String::Add(TextView text) {
  const std::size_t needed = count_ + text.size();
  if (needed > buffer_.size()) buffer_.resize(std::max({needed, buffer_.size() * 2, kSmallestBuffer}), kBlank);
  std::ranges::copy(text, buffer_.data() + count_);
  count_ = needed;
}

}  // namespace ovs
