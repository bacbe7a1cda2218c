// Cuts the Event elements out of a stream of XML, however much of it there is and whatever is broken in between.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "events/files/RecordPieces.h"

namespace ovs {

// Knows markup only as far as it takes to find an element's end: tags, quoted values, comments and CDATA. An element that
// was cut off ends where the next one begins, which is at an Event whose first child is System.
class EventCutter {
 public:
  struct Listener {
    // A whole element; `at` is its place in the file.
    std::function<void(std::string_view element, std::uint64_t at)> onElement;
    std::function<void(std::uint64_t at, const std::string& reason)> onBroken;
  };

  EventCutter(Listener listener, SourceMeasure measure, std::uint64_t start)
      : listener_(std::move(listener)), measure_(measure), measured_(start) {}

  void Feed(std::string_view utf8);
  void Finish();

 private:
  enum class State { Content, Markup, Tag, Quoted, Comment, Data, Instruction };

  [[nodiscard]] bool Step();
  [[nodiscard]] bool StepText();
  [[nodiscard]] bool StepMarkup();
  [[nodiscard]] bool StepTag();
  [[nodiscard]] bool StepQuoted();
  [[nodiscard]] bool StepTo(std::string_view end);
  void BreakTag(std::size_t next);
  void TakeTag(std::size_t end);
  void TakeEventTag(bool closing, std::size_t end);
  void BeginElement(std::size_t start);
  void GiveUpElement(const char* reason);
  void NoteForeign(std::size_t position);
  void TellForeign();
  void LimitSize();
  void Discard();
  [[nodiscard]] std::uint64_t PlaceOf(std::size_t position);

  Listener listener_;
  SourceMeasure measure_;
  std::uint64_t measured_;  // place in the file of buffer_[measuredTo_]
  std::size_t measuredTo_ = 0;
  std::string buffer_;
  State state_ = State::Content;
  char quote_ = '"';
  std::size_t position_ = 0;  // looked at up to here
  std::size_t markup_ = 0;    // where the markup begins that is being read
  unsigned depth_ = 0;        // of Event elements in one another
  std::size_t element_ = 0;   // where the outermost begins
  std::uint64_t elementPlace_ = 0;
  std::size_t lastEvent_ = 0;  // where the last start tag of an Event begins
  bool onlyBlankSinceEvent_ = false;
  bool skipping_ = false;  // what is left of an element that was given up
  std::optional<std::uint64_t> foreign_;
};

}  // namespace ovs
