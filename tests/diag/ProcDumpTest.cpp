// Procedure records and the procedure dump.
#include <algorithm>
#include <random>
#include <tuple>

#include "base/Numbers.h"
#include "diag/ProcRecords.h"
#include "diag/ProcSpool.h"
#include "diag/ProcTrace.h"
#include "support/DiagTest.h"

namespace ovs {
namespace {

using ProcDump = DiagTest;

const std::string kBegin = "\r\n----------------------\r\n Begin_ProcDump\r\n";
const std::string kEnd = "\r\n----------------------\r\n  End_ProcDump\r\n";

std::string Event(std::string number, int global, int nonFlow, const std::string& type, const std::string& information,
                  const std::string& variables) {
  const std::string key = number + ".";
  return "-----\r\n" + key + "Global_EventID=" + std::to_string(global) + "\r\n" + key +
         "Global_NonFlow_EventID=" + std::to_string(nonFlow) + "\r\n" + key + "Procedure_EventID=" + number + "\r\n" + key +
         "EventType=" + type + "\r\n" + key + "EventInfo=" + information + "\r\n" + key + "EventVariables=" + variables +
         "\r\n";
}

TEST_F(ProcDump, ASmallRun) {
  debug.SetSwitches({.procDump = true, .procDumpIncludeProcTimers = true});
  const Text file = u"a\r\nb";
  int count = 1;
  {
    Proc outer(u"Mod", u"Outer", ProcKind::Sub);
    outer.ByVal(u"sFile", file);
    outer.ByVal(u"nCount", count);
    outer.Run([&] {
      Proc inner(u"Mod", u"Inner", ProcKind::Function);
      inner.Created(u"nCount", count);
      inner.ReturnedByRef(u"nCount", count);
      inner.Run(false, [&] {
        count = 7;
        return true;
      });
      FailPending(os::Error(31));
      outer.Log(u"note\r\nline", EventType::Normal, u"v=1");
      clock.Advance(2000);
    });
  }
  {
    Proc get(u"Mod", u"Name", ProcKind::Property);
    get.Run(Text(), [] { return Text(); });
  }
  const std::string expected =
      kBegin + "---- NewProcedureID=1\r\n1.Source=Mod.Outer\r\n1.TimeEntered=03/07/2024 01:05:09 PM\r\n" +
      "1.TimeExited=03/07/2024 01:05:11 PM\r\n1.VarsPassedByVal=sFile=a<CRLF>b<sep>nCount=1\r\n1.VarsPassedByRef=\r\n" +
      "1.VarsCreated=\r\n1.VarsReturnedByRef=\r\n1.ErrorEvents=1\r\n" + Event("1", 1, 0, "EnterProcedure", "", "") +
      Event("2", 3, 1, "Normal",
            "note<CRLF>line  APIError=31 (&H1F) FormatMessageW failure (lRet=0) Could not retrieve message from system!",
            "v=1") +
      "Problem:  Failure retrieving or logging the system error message!\r\n" + Event("3", 5, 0, "ExitProcedure", "", "") +
      "---- EndProcedureID=1\r\n" +
      "---- NewProcedureID=2\r\n2.Source=Mod.Inner\r\n2.TimeEntered=03/07/2024 01:05:09 PM\r\n" +
      "2.TimeExited=03/07/2024 01:05:11 PM\r\n2.VarsPassedByVal=\r\n2.VarsPassedByRef=\r\n2.VarsCreated=nCount=7\r\n" +
      "2.VarsReturnedByRef=nCount=7\r\n2.FunctionReturn=Inner=True\r\n2.ErrorEvents=0\r\n" +
      Event("1", 2, 0, "EnterProcedure", "", "") + Event("2", 4, 0, "ExitProcedure", "", "") + "---- EndProcedureID=2\r\n" +
      "---- NewProcedureID=3\r\n3.Source=Mod.Name\r\n3.TimeEntered=03/07/2024 01:05:11 PM\r\n" +
      "3.TimeExited=03/07/2024 01:05:11 PM\r\n3.VarsPassedByVal=\r\n3.VarsPassedByRef=\r\n3.VarsCreated=\r\n" +
      "3.VarsReturnedByRef=\r\n3.PropertyReturn=Name=Problem:  No return value!\r\n3.ErrorEvents=0\r\n" +
      Event("1", 6, 0, "EnterProcedure", "", "") + Event("2", 7, 0, "ExitProcedure", "", "") + "---- EndProcedureID=3\r\n" +
      "TotalProcedures=3\r\nNormalEvents=1\r\nVerboseEvents=0\r\nErrorHandlerEvents=0\r\nAPICallErrorEvents=0\r\n" +
      "Errors_Outside_ErrorHandler=1\r\n" + kEnd;
  EXPECT_EQ(ToUtf8(debug.ProcDump(false)), expected);
}

TEST_F(ProcDump, OptionsNarrowAndWidenIt) {
  debug.SetSwitches({.procDump = true, .procDumpEventTypes = 16, .perfTimer = true});
  {
    Proc proc(u"Mod", u"Work", ProcKind::Sub);
    proc.Log(u"left out");
    proc.Log(u"listed", EventType::ErrorHandler);
  }
  const std::string dump = ToUtf8(debug.ProcDump(false));
  EXPECT_EQ(dump.find("left out"), std::string::npos);
  EXPECT_EQ(dump.find("EnterProcedure"), std::string::npos);
  EXPECT_NE(dump.find("EventInfo=listed"), std::string::npos);
  EXPECT_NE(dump.find("1.PerfElapsed=00:00:00.0"), std::string::npos);
  const Proc running(u"Mod", u"Runs", ProcKind::Sub);
  EXPECT_NE(debug.ProcDump(false).find(u"2.PerfEnd=\r\n2.PerfElapsed=\r\n"), Text::npos);
}

std::vector<std::string> ListedIds(const Text& dump) {
  const std::string bytes = ToUtf8(dump);
  std::vector<std::string> ids;
  constexpr std::string_view kKey = "NewProcedureID=";
  for (std::size_t at = bytes.find(kKey); at != std::string::npos; at = bytes.find(kKey, at + 1)) {
    ids.push_back(bytes.substr(at + kKey.size(), bytes.find('\r', at) - at - kKey.size()));
  }
  return ids;
}

TEST_F(ProcDump, IncompleteOnlyLeavesOutWhatEndedWell) {
  for (const bool atExit : {false, true}) {
    App_Debug own;
    const ScopedDiagnostics place(own);
    own.SetSwitches({.procDump = true, .procDumpIncompleteOnly = atExit});
    Proc running(u"Mod", u"Runs", ProcKind::Sub);                  // 1
    { const Proc good(u"Mod", u"Good", ProcKind::Sub); }           // 2
    { const Proc silent(u"Mod", u"Silent", ProcKind::Function); }  // 3
    {
      Proc(u"Mod", u"Good", ProcKind::Function).Run(0, [] { return 0; });
    }  // 4
    EXPECT_EQ(own.ProcNew(u"Mod", u"Open", u"Function"), 5);
    EXPECT_EQ(own.ProcNew(u"Mod", u"Empty", u"Property"), 6);
    own.ProcVar(6, VarKind::FunctionResult, u"x=");
    own.ProcExit(6);
    EXPECT_EQ(ListedIds(own.ProcDump(true)), (std::vector<std::string>{"1", "3", "5", "6"}));
    const std::string dump = ToUtf8(own.ProcDump(true));
    EXPECT_NE(dump.find("3.FunctionReturnValue=Problem:  No return value logged; incomplete debug code!\r\n"), dump.npos);
    EXPECT_NE(dump.find("6.PropertyReturn=x=Problem:  No return value!\r\n"), dump.npos);
    if (!atExit) {
      EXPECT_EQ(ListedIds(own.ProcDump(false)).size(), 6u);
    }
  }
}

TEST_F(ProcDump, UnknownIds) {
  debug.SetSwitches({.systemOutput = true});
  for (ProcId id = 1; id <= 10; ++id) EXPECT_EQ(debug.ProcNew(u"Mod", u"P", u"Sub"), id);
  debug.ProcVar(99, VarKind::Created, u"x=1");
  debug.ProcVar(99, VarKind::Created, u"");
  debug.ProcVar(kNoProc, VarKind::Created, u"");
  debug.ProcVar(kNoProc, VarKind::Created, u"y");
  EXPECT_EQ(system.debugOutput, (std::vector<Text>{u"ProcVar:  ProcID [99] does not exist!  Variables_x=1",
                                                   u"ProcVar:  ProcID [99] does not exist!",
                                                   u"ProcVar:  ProcID [-1] does not exist!  Variables_y"}));
  EXPECT_EQ(debug.ProcLastError(99), u"ProcErrorNum:  Procedure ID [99] does not exist!");
  EXPECT_EQ(debug.ProcLastError(10), u"");
  FailPending(os::Error(32));
  debug.dLog(10, u"m", EventType::ApiError);
  EXPECT_EQ(debug.ProcLastError(10), u"[Error 32 = In use.]");
  entries.clear();
  debug.ProcExit(10);
  debug.ProcExit(10);
  EXPECT_EQ(debug.Counters().proceduresExited, 2u);
  EXPECT_EQ(debug.ProcLastError(10), u"[Error 32 = In use.]");
  system.debugOutput.clear();
  debug.ProcVar(10, VarKind::Created, u"x=1");
  EXPECT_TRUE(system.debugOutput.empty());
  debug.ProcExit(99);
  debug.dLog(99, u"lost");
  EXPECT_EQ(entries, (std::vector<Text>{
                         Text(kNow) + u"Normal Event\r\nApp_Debug.ProcExit Normal\r\nProcedure ID [99] does not exist!",
                         Text(kNow) + u"Normal Event\r\nApp_Debug.dLog Normal\r\nProcedure does not exist!\r\n" +
                             u"Variables=[ProcedureID=99]",
                         Text(kNow) + u"Normal Event\r\nErr-0.ProcID=99 Normal\r\nlost"}));
}

TEST_F(ProcDump, SwitchedOnMeanwhileItShowsWhatRuns) {
  const int value = 5;
  Proc outer(u"Mod", u"Outer", ProcKind::Sub);
  outer.ByVal(u"n", value);
  outer.Log(u"not kept");
  { const Proc before(u"Mod", u"Before", ProcKind::Sub); }
  debug.SetSwitches({.procDump = true});
  outer.Log(u"kept");
  { const Proc later(u"Mod", u"Later", ProcKind::Sub); }
  const Text dump = debug.ProcDump(false);
  EXPECT_EQ(ListedIds(dump), (std::vector<std::string>{"1", "3"}));
  const std::string bytes = ToUtf8(dump);
  EXPECT_NE(bytes.find("1.VarsPassedByVal=n=5\r\n"), std::string::npos);
  EXPECT_NE(bytes.find(Event("3", 5, 2, "Normal", "kept", "")), std::string::npos);
  EXPECT_NE(bytes.find("TotalProcedures=3\r\n"), std::string::npos);
}

TEST(App_Proc, EventsAreFoundByNumber) {
  App_Proc record(1, ProcKind::Sub, u"Mod", u"Work");
  record.Add_ProcedureEvent({});
  record.SetEarlierEvents(4);
  App_ProcEvent event;
  event.information = u"five";
  record.Add_ProcedureEvent(event);
  for (std::uint32_t number = 0; number <= 6; ++number) {
    EXPECT_EQ(record.EventExists(number), number == 1 || number == 5) << number;
  }
  EXPECT_EQ(record.ProcedureEventObject(5)->information, u"five");
  record.App_ClassSync_CleanUp();
  EXPECT_FALSE(record.EventExists(5));
  EXPECT_EQ(record.Add_ProcedureEvent({}), 6u);
  EXPECT_EQ(record.EventCount_By_EventType(EventType::Normal) + record.EventCount_NonFlow(), 6u);
  EXPECT_EQ(record.LastErrorEvent(), nullptr);
  const auto add = [&](EventType type, bool isError, std::uint32_t apiNumber, TextView information) {
    App_ProcEvent more;
    more.type = type;
    more.isError = isError;
    more.outsideHandler = apiNumber != 0;
    more.errors.apiNumber = apiNumber;
    more.information = information;
    record.Add_ProcedureEvent(more);
  };
  add(EventType::ApiError, true, 0, u"first");
  add(EventType::Normal, true, 5, u"last");
  add(EventType::ErrorHandler, false, 0, {});
  add(EventType::ExitProcedure, false, 0, {});
  EXPECT_EQ(record.EventCount_APIErrors(), 2u);
  EXPECT_EQ(record.EventCount_ErrorHandler(), 1u);
  EXPECT_EQ(record.EventCount_ErrorsOutsideHandler(), 1u);
  EXPECT_EQ(record.EventCount_NonFlow(), 6u);
  EXPECT_EQ(record.LastErrorEvent()->information, u"last");
  EXPECT_EQ(record.NewEnum().size(), 5u);
}

TEST_F(ProcDump, WhatRanBeforeTheSettingsWereReadIsHeld) {
  const Text value = u"geheim99" + Text(16'000, u'v');
  for (const bool wanted : {true, false}) {
    App_Debug own;
    const ScopedDiagnostics place(own);
    own.Attach({&files, &clock, &zone, &system, &ticker}, {});
    own.HoldRecords();
    Proc outer(u"Mod", u"Outer", ProcKind::Sub);
    for (int i = 0; i < 140; ++i) Proc(u"Mod", u"Early", ProcKind::Sub).ByVal(u"sValue", value);
    own.SetSwitches({.procDump = wanted, .procDumpIncludeProcTimers = true});
    own.AddSecret(u"geheim99");  // which nobody knew when the values were held
    own.EndHoldOfRecords();
    { const Proc later(u"Mod", u"Later", ProcKind::Sub); }
    const Text dump = own.ProcDump(false);
    const std::vector<std::string> ids = ListedIds(dump);
    // The outer one, the later one, and as many as the limit allows: each takes a little more than its value.
    const std::size_t held = wanted ? ids.size() - 2 : 0;
    constexpr std::size_t kFit = ProcTrace::kMostHeld / 16'000;
    EXPECT_TRUE(wanted ? held < kFit && held > kFit - 10 : ids.empty()) << held;
    EXPECT_EQ(dump.find(u"RecordsLost=" + NumberText(static_cast<std::int64_t>(140 - held))) != Text::npos, wanted);
    EXPECT_EQ(dump.find(u"geheim99"), Text::npos);
    EXPECT_EQ(dump.find(u"\r\n2.TimeExited=03/07/2024 01:05:09 PM") != Text::npos, wanted);
    EXPECT_EQ(ids.empty() ? "142" : ids.back(), "142") << "what runs later is kept or not as ever";
  }
}

// --- Spooling

// Enough to fill the spool's file several times over: short calls, failing ones, and one that notes much.
void Work(App_Debug& own) {
  const ScopedDiagnostics place(own);
  Proc outer(u"Mod", u"Outer", ProcKind::Sub);
  for (int i = 0; i < 600; ++i) {
    const Text value(static_cast<std::size_t>(i % 50), u'ä');
    Proc call(u"Mod", u"Call", i % 3 == 0 ? ProcKind::Function : ProcKind::Sub);
    call.ByVal(u"sValue", value);
    if (i % 3 != 0) call.Run([&] { call.Log(u"note", EventType::Verbose, value); });
    outer.Log(Text(400, u'n') + NumberText(i), EventType::Verbose);
  }
}

TEST_F(ProcDump, TheSameWithAndWithoutSpooling) {
  for (const bool incompleteOnly : {false, true}) {
    App_Debug spooling;
    App_Debug plain;
    spooling.Attach({.files = &files}, {});
    for (App_Debug* own : {&spooling, &plain}) {
      own->DebugLogSetLogFileVars(u"C:\\Not there yet\\run.log");
      own->SetSwitches({.procDump = true, .procDumpIncompleteOnly = incompleteOnly});
      Work(*own);
    }
    const std::string dump = ToUtf8(spooling.ProcDump(incompleteOnly));
    EXPECT_TRUE(dump == ToUtf8(plain.ProcDump(incompleteOnly)));  // too long to be shown
    const std::vector<std::string> ids = ListedIds(FromUtf8(dump));
    ASSERT_EQ(ids.size(), incompleteOnly ? 200u : 601u);
    for (std::size_t i = 0; !incompleteOnly && i < ids.size(); ++i) ASSERT_EQ(ids[i], std::to_string(i + 1));
    EXPECT_NE(OnDisk(u"C:\\Not there yet\\run Dump_Proc.tmp"), "-");
    spooling.CleanupDebug();
    EXPECT_TRUE(OnDisk(u"C:\\Not there yet\\run Dump_Proc.log") == dump);
    EXPECT_EQ(OnDisk(u"C:\\Not there yet\\run Dump_Proc.tmp"), "-");
    // Records that cannot be spooled stay in memory and are not lost.
    files.FailPath(u".tmp", SystemError::kDiskFull);
    App_Debug refused;
    refused.Attach({.files = &files}, {});
    refused.DebugLogSetLogFileVars(u"C:\\Not there yet\\run.log");
    refused.SetSwitches({.procDump = true, .procDumpIncompleteOnly = incompleteOnly});
    Work(refused);
    EXPECT_TRUE(ToUtf8(refused.ProcDump(incompleteOnly)) == dump);
    files.Heal();
  }
}

using Block = std::tuple<ProcId, std::uint32_t, bool, std::string>;

std::vector<Block> ReadBack(ProcSpool& spool, bool& complete) {
  std::vector<Block> read;
  complete = spool.ForEach([&](const ProcSpool::Block& block, std::string_view text) {
    read.emplace_back(block.id, block.part, block.problem, text);
  });
  return read;
}

TEST_F(ProcDump, SpoolReadsBackInOrderWhateverTheRunLength) {
  for (const std::size_t runLength : {1u, 7u, 300u, 100'000u}) {
    std::mt19937 random(3);
    ProcSpool spool;
    spool.Attach(&files);
    spool.SetPath(u"C:\\spool.tmp");
    spool.SetRunLength(runLength);
    std::vector<Block> blocks;
    for (int i = 0; i < 900; ++i) {
      const std::size_t size = i % 300 == 7 ? 300'000 : random() % 400;
      blocks.emplace_back(i / 3, i % 3, i % 2 == 0, std::string(size, static_cast<char>('a' + i % 26)));
    }
    std::vector<Block> expected = blocks;
    std::shuffle(blocks.begin(), blocks.end(), random);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
      const auto& [id, part, problem, text] = blocks[i];
      if (i == 400) files.FailCall(1, SystemError::kDiskFull);
      spool.Add({id, part, problem}, text);
    }
    files.Heal();
    bool complete = false;
    ASSERT_TRUE(ReadBack(spool, complete) == expected) << runLength;
    EXPECT_TRUE(complete);
    EXPECT_EQ(spool.LostBlocks(), 0u);
    ASSERT_TRUE(disk.Write(u"C:\\spool.tmp", "cut off").Ok());
    static_cast<void>(ReadBack(spool, complete));
    EXPECT_FALSE(complete) << runLength;
    spool.Remove();
    EXPECT_TRUE(ReadBack(spool, complete).empty());
    EXPECT_EQ(OnDisk(u"C:\\spool.tmp"), "-");
  }
}

TEST_F(ProcDump, SpoolWhatDoesNotFitIntoMemoryIsCounted) {
  ProcSpool spool;
  const std::string block(ProcSpool::kMostWaiting / 4, 'x');
  for (int i = 0; i < 7; ++i) spool.Add({i, 0, false}, block);
  EXPECT_EQ(spool.LostBlocks(), 3u);
  bool complete = false;
  EXPECT_EQ(ReadBack(spool, complete).size(), 4u);
}

}  // namespace
}  // namespace ovs
