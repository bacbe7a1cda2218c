// The common part of the readers of JSON and of XML: bytes go in by chunks of any size, records come out.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "events/files/Records.h"

namespace ovs {

inline constexpr std::size_t kMaxPieceBytes = std::size_t{64} << 20;

// Counts what is found and tells it; both must outlive it.
class RecordTally {
 public:
  RecordTally(const RecordSink& sink, RecordReadResult& result) : sink_(sink), result_(result) {}

  void Good(const RawRecord& record) {
    ++result_.records;
    sink_.onRecord(record);
  }
  void Bad(const std::string& place, const std::string& reason) {
    ++result_.bad;
    if (sink_.onBad) sink_.onBad(place, reason);
  }
  void Note(const std::string& note) {
    if (sink_.onNote) sink_.onNote(note);
  }
  [[nodiscard]] bool IsEnough() const { return sink_.isEnough && sink_.isEnough(); }

 private:
  const RecordSink& sink_;
  RecordReadResult& result_;
};

class PieceReader {
 public:
  virtual ~PieceReader() = default;
  virtual void Feed(std::string_view utf8) = 0;
  // The end of the input.
  virtual void Finish() = 0;
};

// How many bytes of the file became these bytes of UTF-8, which hold no part of a character.
using SourceMeasure = std::uint64_t (*)(std::string_view utf8);

// False with the reason when the line is no record.
[[nodiscard]] bool ParseJsonRecord(std::string_view line, RawRecord& out, std::string& reason);

[[nodiscard]] std::unique_ptr<PieceReader> NewJsonReader(RecordTally& tally);
// `start` is the place in the file of what comes first.
[[nodiscard]] std::unique_ptr<PieceReader> NewXmlReader(RecordTally& tally, SourceMeasure measure, std::uint64_t start);

}  // namespace ovs
