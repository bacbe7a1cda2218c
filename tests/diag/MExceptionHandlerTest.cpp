// The names of exceptions and the walk along nested records; tests/diag/win32 has the handler at work.
#include "diag/MExceptionHandler.h"

#include <gtest/gtest.h>

#include <utility>

#include "base/Encoding.h"

namespace ovs {
namespace {

using os::ExceptionRecord;

TEST(MExceptionHandlerTest, CodesHaveNames) {
  const std::pair<std::uint32_t, TextView> cases[] = {{0xC0000094, u"Integer Divide By Zero"},
                                                      {0xC000008E, u"Divide By Zero"},
                                                      {0xE06D7363, u"Unknown (&HE06D7363)"},
                                                      {1, u"Unknown (&H00000001)"}};
  for (const auto& [code, text] : cases) {
    const ExceptionRecord ignored{0xC0000096};
    EXPECT_EQ(ToUtf8(MExceptionHandler::GetExceptionDescription({code, 0, &ignored})), ToUtf8(text));
  }
}

TEST(MExceptionHandlerTest, TheInnermostRecordCountsAndBrokenChainsEnd) {
  const auto read = [](const ExceptionRecord* from, ExceptionRecord& to) noexcept {
    if (from->code == 0xBAD) return false;
    to = *from;
    return true;
  };
  const ExceptionRecord inner{0xC0000005};
  const ExceptionRecord middle{1, 0, &inner};
  EXPECT_EQ(os::InnermostRecord({2, 0, &middle}, read).code, inner.code);
  EXPECT_EQ(os::InnermostRecord(inner, read).code, inner.code);
  const ExceptionRecord unreadable{0xBAD, 0, &inner};
  EXPECT_EQ(os::InnermostRecord({2, 0, &unreadable}, read).code, 2u);
  ExceptionRecord ring{3};
  ring.nested = &ring;
  EXPECT_EQ(os::InnermostRecord({2, 0, &ring}, read).code, 3u);
}

}  // namespace
}  // namespace ovs
