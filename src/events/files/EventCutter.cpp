#include "events/files/EventCutter.h"

#include <algorithm>

namespace ovs {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kComment = "<!--";
constexpr std::string_view kData = "<![CDATA[";

std::string_view NameOf(std::string_view tag) {
  tag.remove_prefix(tag.starts_with("</") ? 2 : 1);
  return tag.substr(0, tag.find_first_of(" \t\r\n/>"));
}

}  // namespace

void EventCutter::Feed(std::string_view utf8) {
  buffer_ += utf8;
  while (Step()) {
  }
  LimitSize();
  Discard();
}

void EventCutter::Finish() {
  if (depth_ > 0) {
    GiveUpElement("the element has no end");
  } else if (state_ != State::Content) {
    NoteForeign(markup_);
  }
  TellForeign();
}

// False when more has to come first.
bool EventCutter::Step() {
  switch (state_) {
    case State::Content:
      return StepText();
    case State::Markup:
      return StepMarkup();
    case State::Tag:
      return StepTag();
    case State::Quoted:
      return StepQuoted();
    case State::Comment:
      return StepTo("-->");
    case State::Data:
      return StepTo("]]>");
    case State::Instruction:
      return StepTo("?>");
  }
  return false;
}

bool EventCutter::StepText() {
  const std::size_t end = std::min(buffer_.find('<', position_), buffer_.size());
  const std::size_t text = buffer_.find_first_not_of(kBlanks, position_);
  if (text < end) {
    onlyBlankSinceEvent_ = false;
    if (depth_ == 0) NoteForeign(text);
  }
  position_ = markup_ = end;
  if (end == buffer_.size()) return false;
  state_ = State::Markup;
  return true;
}

bool EventCutter::StepMarkup() {
  const std::string_view rest = std::string_view(buffer_).substr(markup_);
  if (rest.starts_with(kComment)) {
    state_ = State::Comment;
    position_ = markup_ + kComment.size();
  } else if (rest.starts_with(kData)) {
    state_ = State::Data;
    position_ = markup_ + kData.size();
    onlyBlankSinceEvent_ = false;
    if (depth_ == 0) NoteForeign(markup_);
  } else if (kComment.starts_with(rest) || kData.starts_with(rest)) {
    return false;
  } else {
    state_ = rest[1] == '?' ? State::Instruction : State::Tag;
    position_ = markup_ + 1;
  }
  return true;
}

bool EventCutter::StepTag() {
  const std::size_t found = buffer_.find_first_of("<>\"'", position_);
  position_ = std::min(found, buffer_.size());
  if (found == std::string::npos) return false;
  ++position_;
  if (buffer_[found] == '<') {
    BreakTag(found);
  } else if (buffer_[found] == '>') {
    TakeTag(position_);
  } else {
    quote_ = buffer_[found];
    state_ = State::Quoted;
  }
  return true;
}

bool EventCutter::StepQuoted() {
  const char ends[] = {'<', quote_};
  const std::size_t found = buffer_.find_first_of(ends, position_, sizeof ends);
  position_ = std::min(found, buffer_.size());
  if (found == std::string::npos) return false;
  ++position_;
  if (buffer_[found] == '<') {
    BreakTag(found);
  } else {
    state_ = State::Tag;
  }
  return true;
}

bool EventCutter::StepTo(std::string_view end) {
  const std::size_t found = buffer_.find(end, position_);
  if (found == std::string::npos) {
    const std::size_t partOfEnd = end.size() - 1;
    position_ = std::max(position_, buffer_.size() < partOfEnd ? 0 : buffer_.size() - partOfEnd);
    return false;
  }
  position_ = found + end.size();
  state_ = State::Content;
  return true;
}

// A "<" may stand in no tag: the tag was cut off there.
void EventCutter::BreakTag(std::size_t next) {
  if (depth_ == 0) NoteForeign(markup_);
  onlyBlankSinceEvent_ = false;
  markup_ = position_ = next;
  state_ = State::Markup;
}

void EventCutter::TakeTag(std::size_t end) {
  state_ = State::Content;
  const std::string_view tag = std::string_view(buffer_).substr(markup_, end - markup_);
  const std::string_view name = NameOf(tag);
  const bool closing = tag.starts_with("</");
  const bool empty = tag.ends_with("/>");
  if (name == "Event" && !empty) return TakeEventTag(closing, end);
  if (name == "Events" && closing && depth_ > 0) return GiveUpElement("the element has no end");
  if (name == "System" && !closing && onlyBlankSinceEvent_ && depth_ > 1) {
    GiveUpElement("the element has no end");
    BeginElement(lastEvent_);
  }
  onlyBlankSinceEvent_ = false;
  if (depth_ == 0 && name != "Events") NoteForeign(markup_);
}

void EventCutter::TakeEventTag(bool closing, std::size_t end) {
  onlyBlankSinceEvent_ = !closing;
  if (!closing) {
    lastEvent_ = markup_;
    if (depth_ == 0) {
      BeginElement(markup_);
    } else {
      ++depth_;
    }
  } else if (depth_ == 0) {
    NoteForeign(markup_);
  } else if (--depth_ == 0) {
    listener_.onElement(std::string_view(buffer_).substr(element_, end - element_), elementPlace_);
  }
}

void EventCutter::BeginElement(std::size_t start) {
  TellForeign();
  skipping_ = false;
  depth_ = 1;
  element_ = start;
  elementPlace_ = PlaceOf(start);
}

void EventCutter::GiveUpElement(const char* reason) {
  depth_ = 0;
  listener_.onBroken(elementPlace_, reason);
}

void EventCutter::NoteForeign(std::size_t position) {
  if (!skipping_ && !foreign_) foreign_ = PlaceOf(position);
}

void EventCutter::TellForeign() {
  if (foreign_) listener_.onBroken(*foreign_, "not part of an event record");
  foreign_.reset();
}

void EventCutter::LimitSize() {
  if (depth_ > 0 && buffer_.size() - element_ > kMaxPieceBytes) {
    GiveUpElement("longer than 64 MB");
    skipping_ = true;
  }
  if (depth_ == 0 && (state_ == State::Tag || state_ == State::Quoted) && buffer_.size() - markup_ > kMaxPieceBytes) {
    NoteForeign(markup_);
    state_ = State::Content;
    position_ = buffer_.size();
  }
}

// Forgets what nobody will look at again.
void EventCutter::Discard() {
  const bool nameCounts = state_ == State::Markup || state_ == State::Tag || state_ == State::Quoted;
  const std::size_t keep = depth_ > 0 ? element_ : nameCounts ? markup_ : position_;
  static_cast<void>(PlaceOf(keep));
  buffer_.erase(0, keep);
  for (std::size_t* const place : {&position_, &markup_, &element_, &lastEvent_, &measuredTo_}) {
    *place -= std::min(*place, keep);
  }
}

// Asked from front to back.
std::uint64_t EventCutter::PlaceOf(std::size_t position) {
  if (position > measuredTo_) {
    measured_ += measure_(std::string_view(buffer_).substr(measuredTo_, position - measuredTo_));
    measuredTo_ = position;
  }
  return measured_;
}

}  // namespace ovs
