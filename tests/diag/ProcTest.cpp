// The guard of a traced procedure.
#include <new>
#include <stdexcept>
#include <thread>

#include "base/Numbers.h"
#include "diag/Proc.h"
#include "support/AllocationCount.h"
#include "support/DiagTest.h"

namespace ovs {
namespace {

// A value that counts how often it is rendered.
struct Counted {
  mutable int rendered = 0;
};
void RenderValue(const Counted& value, Text& out) {
  ++value.rendered;
  out += u"counted";
}

TEST_F(DiagTest, RunReportsEveryKindOfExceptionOnceAndIsNeutral) {
  struct {
    void (*fail)();
    TextView error;
  } const cases[] = {
      {[] { throw RuntimeError(13, u"Type mismatch", u"COM"); }, u"13\r\nVBError=13 Desc=Type mismatch Source=COM"},
      {[] { throw RuntimeError(75, u"Disk\r\ngone"); }, u"75\r\nVBError=75 Desc=Disk<CRLF>gone"},
      {[] { throw std::bad_alloc(); }, u"7\r\nVBError=7 Desc=Out of memory"},
      {[] { throw std::runtime_error("h\xC3\xB6h"); }, u"51\r\nVBError=51 Desc=höh"},
      {[] { throw 42; }, u"51\r\nVBError=51 Desc=Unknown error"},
      {[] { FailPending(os::Error(32)), throw RuntimeError(6, u"Overflow"); },
       u"32\r\nAPIError=32 (&H20) In use.\r\nVBError=6 Desc=Overflow"}};
  for (const bool dump : {false, true}) {
    debug.SetSwitches({.procDump = dump});
    for (const auto& each : cases) {
      entries.clear();
      const Text file = u"C:\\x\r\n";
      int created = 0;
      const bool flag = true;
      Proc proc(u"Mod", u"Fails", ProcKind::Function);
      proc.ByVal(u"sFile", file);
      proc.ByVal(u"bFlag", flag);
      proc.ByRef(u"sSeen", file);
      proc.Created(u"nCount", created);
      const int result = proc.Run(-1, [&] {
        created = 3;
        each.fail();
        return 5;
      });
      EXPECT_EQ(result, -1);
      ASSERT_EQ(entries.size(), 1u);
      const Text id = Text(u"Mod.Fails.ProcID=").append(NumberText(proc.Id()));
      const Text variables = u"\r\nVarsPassedByVal=[sFile=C:\\x<CRLF><sep>bFlag=True]\r\nVarsCreated=[nCount=3]";
      EXPECT_EQ(ToUtf8(entries[0]), ToUtf8(Text(kNow) + u"ErrorHandler Event\r\n" + id +
                                           u".ProcEventID=2 ErrorHandler\r\nError " + Text(each.error) + variables));
      EXPECT_EQ(PendingRuntimeErrorNumber(), 0);
    }
  }
  EXPECT_EQ(debug.Counters().errorHandler, 12u);
  EXPECT_EQ(debug.Counters().errorsOutsideErrorHandler, 0u);
}

TEST_F(DiagTest, ValuesAreRenderedOnlyForAReader) {
  struct {
    bool dump, fails;
    int byVal, byRef;
  } const cases[] = {{false, false, 0, 0}, {false, true, 1, 0}, {true, false, 1, 1}};
  for (const auto& each : cases) {
    debug.SetSwitches({.procDump = each.dump});
    const Counted byVal;
    const Counted byRef;
    Proc proc(u"Mod", u"Work", ProcKind::Sub);
    proc.ByVal(u"a", byVal);
    proc.ByRef(u"b", byRef);
    proc.Run([&] {
      proc.Log(u"costly", EventType::Verbose);
      proc.Log(u"a note is no error");
      if (each.fails) throw RuntimeError(6, u"Overflow");
    });
    EXPECT_EQ(byVal.rendered, each.byVal);
    EXPECT_EQ(byRef.rendered, each.byRef);
  }
}

TEST_F(DiagTest, NobodyReadsNothingIsAllocated) {
  const Text value(1000, u'x');
  const std::vector<Text> list = {value, value};
  int done = 0;
  const auto work = [&] {
    Proc proc(u"Mod", u"Work", ProcKind::Function);
    proc.ByVal(u"sValue", value);
    proc.ByRef(u"list", list);
    proc.Created(u"done", done);
    return proc.Run(0, [&] {
      proc.Log(u"a note that is long enough for no small-text buffer", EventType::Verbose, value);
      return ++done;
    });
  };
  work();
  const int before = AllocationCount();
  for (int i = 0; i < 100; ++i) work();
  EXPECT_EQ(AllocationCount() - before, 0);
  EXPECT_EQ(debug.Counters().proceduresExited, 101u);
  EXPECT_EQ(debug.Counters().globalEvents, 303u);
}

TEST_F(DiagTest, GuardsNest) {
  Proc outer(u"Mod", u"Outer", ProcKind::Sub);
  outer.Run([&] {
    for (int i = 0; i < 2; ++i) {
      Proc inner(u"Mod", u"Inner", ProcKind::Function);
      inner.Run(0, [&] { return throw RuntimeError(6, u"Overflow"), 0; });
      EXPECT_EQ(debug.ProcLastError(inner.Id()), u"[Error 6 = Overflow]");
      outer.Log(u"from within");
    }
  });
  outer.Log(u"last");
  std::vector<Text> tags;
  for (const Text& entry : entries) {
    const std::size_t at = entry.find(u"Mod.");
    tags.push_back(entry.substr(at, entry.find(u' ', at) - at));
  }
  EXPECT_EQ(tags, (std::vector<Text>{u"Mod.Inner.ProcID=2.ProcEventID=2", u"Mod.Outer.ProcID=1.ProcEventID=2",
                                     u"Mod.Inner.ProcID=3.ProcEventID=2", u"Mod.Outer.ProcID=1.ProcEventID=3",
                                     u"Mod.Outer.ProcID=1.ProcEventID=4"}));
  EXPECT_EQ(debug.ProcLastError(outer.Id()), u"");
  EXPECT_EQ(debug.ProcLastError(2), u"[Error 6 = Overflow]") << "also when it has exited";
}

// The number of a guard's call in other hands: the record stays the guard's.
TEST_F(DiagTest, AGuardAloneEndsItsRecord) {
  debug.SetSwitches({.procDump = true});
  const int value = 3;
  {
    Proc proc(u"Mod", u"Work", ProcKind::Sub);
    debug.ProcExit(proc.Id());
    std::thread([&] { debug.ProcExit(proc.Id()); }).join();
    proc.ByVal(u"nValue", value);
  }
  EXPECT_NE(debug.ProcDump(false).find(u"1.VarsPassedByVal=nValue=3"), Text::npos);
  EXPECT_EQ(debug.Counters().proceduresExited, 3u);
}

TEST_F(DiagTest, ThreadsAreLetInOneAfterAnother) {
  debug.SetSwitches({.procDump = true});
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([] {
      for (int i = 0; i < 100; ++i) {
        Proc proc(u"Mod", u"Work", ProcKind::Function);
        proc.Run(0, [&] { return throw RuntimeError(6, u"Overflow"), 0; });
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(entries.size(), 400u);
  EXPECT_EQ(debug.Counters().errorHandler, 400u);
  for (const Text& entry : entries) EXPECT_NE(entry.find(u".ProcEventID=2 ErrorHandler\r\nError 6"), Text::npos);
}

TEST_F(DiagTest, ValuesHaveLimits) {
  const Text value(20'000, u'x');
  const std::uint64_t large = 18'446'744'073'709'551'615u;
  const std::int64_t small = std::numeric_limits<std::int64_t>::min();
  const std::vector<Text> list = {u"a", u"", u"b"};
  Proc proc(u"Mod", u"Work", ProcKind::Sub);
  proc.ByVal(u"a", value);
  proc.ByVal(u"b", large);
  proc.ByVal(u"c", small);
  proc.ByVal(u"d", list);
  for (int i = 4; i < 12; ++i) proc.ByVal(u"e", small);
  proc.Log(u"", EventType::ErrorHandler);
  const TextView shown = entries.at(0);
  const Text expected = u"[a=" + Text(16'384, u'x') + u"...<sep>b=18446744073709551615<sep>c=-9223372036854775808" +
                        u"<sep>d=a<sep><sep>b<sep>e=";
  EXPECT_NE(shown.find(expected), Text::npos);
  const Text last = u"<sep>e=-9223372036854775808";
  EXPECT_TRUE(shown.substr(shown.find(u"<sep>e=")).starts_with(last + last + last + last + last + last + u"]"));
}

}  // namespace
}  // namespace ovs
