// dLog: what an event counts as, and what its entry looks like.
#include <stdexcept>

#include "support/DiagTest.h"

namespace ovs {
namespace {

using DebugLog = DiagTest;
using enum EventType;

TEST_F(DebugLog, EntryOfEachKind) {
  struct {
    TextView message;
    EventType type;
    TextView variables;
    std::uint32_t api;
    int vb;
    TextView entry;
  } const cases[] = {{u"hello", Normal, u"", 0, 0, u"Normal Event\r\n-1 Normal\r\nhello"},
                     {u"", Normal, u"", 0, 0, u"Normal Event\r\n-1 Normal\r\nNo Msg Passed!"},
                     {u"a\r\nb", Verbose, u"x=\r\n", 0, 0, u"Verbose Event\r\n-1 Verbose\r\na\r\nb\r\nVariables=[x=<CRLF>]"},
                     {u"in", EnterProcedure, u"x=1", 0, 0, u"EnterProcedure Event\r\nin"},
                     {u"", ExitProcedure, u"", 0, 0, u"ExitProcedure Event\r\nNo Msg Passed!"},
                     {u"bad", ErrorHandler, u"", 0, 13,
                      u"ErrorHandler Event\r\n-1 ErrorHandler\r\nbad\r\nVBError=13 Desc=Why<LF> Source=COM"},
                     {u"bad", ApiError, u"", 32, 0, u"APIError Event\r\n-1 APIError\r\nbad\r\nAPIError=32 (&H20) In use."},
                     {u"9", ApiError, u"", 9, 0, u"APIError Event\r\n-1 APIError\r\n9\r\nAPIError=9 Nine."},
                     {u"10", ApiError, u"", 10, 0, u"APIError Event\r\n-1 APIError\r\n10\r\nAPIError=10 (&HA) Ten."},
                     {u"bad", Normal, u"v", 5, 6,
                      u"Normal Event\r\n-1 Normal\r\nbad\r\nAPIError=5 Access denied.\r\nVBError=6 Desc=Why<LF> "
                      u"Source=COM\r\nVariables=[v]"},
                     {u"?", static_cast<EventType>(64), u"", 0, 0, u"Reserved Event\r\n-1 Reserved\r\n?"}};
  system.messages.insert({{9, u"Nine."}, {10, u"Ten."}});
  debug.SetSwitches({.verbose = true});
  for (const auto& each : cases) {
    entries.clear();
    FailPending(os::Error(each.api));
    if (each.vb != 0) SetPendingRuntimeError(each.vb, u"Why\n", u"COM");
    debug.dLog(kNoProc, each.message, each.type, each.variables);
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(ToUtf8(entries[0]), ToUtf8(Text(kNow).append(each.entry)));
    EXPECT_EQ(PendingSystemError() + static_cast<std::uint32_t>(PendingRuntimeErrorNumber()), 0u);
  }
  entries.clear();
  debug.dLog(kNoProc, Text(u"a\0\0\0b", 5));
  EXPECT_TRUE(entries[0].ends_with(u"a<M_NULL><NULL>b"));
}

TEST_F(DebugLog, CountsByTypeAndTellsErrorsOutsideOfHandlers) {
  struct {
    EventType type;
    std::uint32_t api;
    std::uint32_t EventCounters::*counter;
    std::uint32_t outside;
    bool written;
  } const cases[] = {{Normal, 0, &EventCounters::normal, 0, true},
                     {Normal, 2, &EventCounters::normal, 1, true},
                     {Verbose, 2, &EventCounters::verbose, 1, false},
                     {EnterProcedure, 2, nullptr, 0, false},
                     {ExitProcedure, 0, nullptr, 0, false},
                     {ErrorHandler, 2, &EventCounters::errorHandler, 0, true},
                     {ApiError, 2, &EventCounters::apiError, 0, true},
                     {static_cast<EventType>(128), 2, nullptr, 1, true}};
  for (const auto& each : cases) {
    const EventCounters before = debug.Counters();
    entries.clear();
    FailPending(os::Error(each.api));
    debug.dLog(kNoProc, u"m", each.type);
    const EventCounters& after = debug.Counters();
    const auto type = static_cast<unsigned>(each.type);
    EXPECT_EQ(after.globalEvents, before.globalEvents + 1) << type;
    EXPECT_EQ(after.globalNonFlowEvents, before.globalNonFlowEvents + 1) << type;
    const auto sum = [](const EventCounters& c) { return c.normal + c.verbose + c.errorHandler + c.apiError; };
    EXPECT_EQ(sum(after), sum(before) + (each.counter != nullptr ? 1 : 0)) << type;
    if (each.counter != nullptr) {
      EXPECT_EQ(after.*each.counter, before.*each.counter + 1) << type;
    }
    EXPECT_EQ(after.errorsOutsideErrorHandler, before.errorsOutsideErrorHandler + each.outside) << type;
    EXPECT_EQ(entries.size(), each.written ? 1u : 0u) << type;
  }
}

TEST_F(DebugLog, ExpectedErrorsBecomeVerboseNotes) {
  struct {
    TextView vbList, apiList;
    int vb;
    std::uint32_t api;
    TextView body;  // "" when it is no Verbose note
  } const cases[] = {{u"", u"5,32", 0, 32, u"m  Expected APIError=32 (In use.)"},
                     {u"", u"x,,0032", 0, 32, u"m  Expected APIError=32 (In use.)"},
                     {u"", u"5,32", 0, 2, u""},
                     {u"", u"332", 0, 32, u""},
                     {u"32", u"", 0, 32, u""},
                     {u"53", u"", 53, 0, u"m  Expected VBError=53 Desc=Gone"},
                     {u"53", u"2", 53, 2, u"m  Expected APIError=2 (File not found.)  Expected VBError=53 Desc=Gone"},
                     {u"53", u"5", 53, 2, u"m  Expected VBError=53 Desc=Gone\r\nAPIError=2 File not found."}};
  debug.SetSwitches({.verbose = true});
  system.messages[2] = u"File not found. ";
  for (const auto& each : cases) {
    const EventCounters before = debug.Counters();
    entries.clear();
    FailPending(os::Error(each.api));
    if (each.vb != 0) SetPendingRuntimeError(each.vb, u"Gone", kProjectName);
    debug.dLog(kNoProc, u"m", Normal, {}, each.vbList, each.apiList);
    const bool demoted = !each.body.empty();
    EXPECT_EQ(debug.Counters().verbose, before.verbose + (demoted ? 1 : 0)) << ToUtf8(each.apiList);
    EXPECT_EQ(debug.Counters().normal, before.normal + (demoted ? 0 : 1)) << ToUtf8(each.apiList);
    EXPECT_EQ(debug.Counters().errorsOutsideErrorHandler, before.errorsOutsideErrorHandler + 1);
    ASSERT_EQ(entries.size(), 1u);
    if (demoted) {
      EXPECT_EQ(ToUtf8(entries[0]), ToUtf8(Text(kNow) + u"Verbose Event\r\n-1 Verbose\r\n" + Text(each.body)));
    }
  }
}

TEST_F(DebugLog, DebuggerOutputComesFirstAndHasThePrefix) {
  debug.SetSwitches({.systemOutput = true, .systemOutputPrefix = u"Ovs"});
  std::size_t outputsBefore = 0;
  debug.SetEntryListener([&](TextView, EventType) {
    outputsBefore = system.debugOutput.size();
    debug.dLog(kNoProc, u"a listener that logs");  // counted, no more
  });
  debug.dLog(kNoProc, u"hello");
  debug.dLog(kNoProc, u"");
  debug.OutputDebugStringRaw(u"raw");
  EXPECT_EQ(outputsBefore, 2u);
  EXPECT_EQ(system.debugOutput,
            (std::vector<Text>{u"\r\n-1 Normal\r\n[Ovs]  hello", u"\r\n-1 Normal\r\n[Ovs]  No Msg Passed!", u"raw"}));
  EXPECT_EQ(debug.Counters().normal, 4u);
  debug.SetEntryListener([](TextView, EventType) { throw std::runtime_error("a listener that throws"); });
  debug.dLog(kNoProc, u"x");
  debug.SetEntryListener(nullptr);
  debug.SetSwitches(debug.Switches());
  EXPECT_EQ(debug.Switches().systemOutputPrefix, u"Ovs");
  debug.SetSwitches({});
  debug.dLog(kNoProc, u"last");
  debug.OutputDebugStringRaw(u"raw");
  EXPECT_EQ(system.debugOutput.size(), 4u);
  EXPECT_TRUE(debug.DebugLogText().ends_with(u"last\r\n\r\n"));
}

TEST_F(DebugLog, SecretsAppearNowhere) {
  debug.SetSwitches({.systemOutput = true, .procDump = true});
  debug.AddSecret(u"geheim\r\nß");
  debug.AddSecret(u"pw-12345");
  debug.AddSecret(u"abc");  // too short to be masked
  const Text value = u"<geheim\r\nß>";
  {
    Proc proc(u"Mod", u"Login", ProcKind::Sub);
    proc.ByVal(u"sPassword", value);
    proc.Created(u"sCopy", value);
    SetPendingRuntimeError(440, u"pw-12345 refused", u"geheim\r\nß");
    proc.Log(u"AUTH pw-12345 cHctMTIzNDU= abc", ErrorHandler, u"s=geheim\r\nß");
    // As SMTP sends it, and with one or two characters in front of it.
    for (const TextView sent : {u"AHVzZXIAcHctMTIzNDU=", u"eHB3LTEyMzQ1ISE=", u"eHlwdy0xMjM0NSEh"})
      debug.dLog(kNoProc, sent);
  }
  debug.DebugLogAddEntry(u"raw pw-12345");
  Text all = debug.DebugLogText() + debug.ProcDump(false);
  for (const Text& output : system.debugOutput) all += output;
  for (const TextView hidden : {u"geheim", u"pw-12345", u"12345", u"MTIzNDU", u"3LTEyMzQ1", u"dy0xMjM0N"}) {
    EXPECT_EQ(all.find(hidden), Text::npos) << ToUtf8(hidden) << ToUtf8(all);
  }
  EXPECT_NE(all.find(u"sPassword=<***>"), Text::npos);
  EXPECT_NE(all.find(u"AUTH *** *** abc"), Text::npos);
  EXPECT_NE(all.find(u"raw ***"), Text::npos);
}

TEST_F(DebugLog, SystemMessagesAreCachedByNumberAndFlavour) {
  system.messages[2] = Text(u" File\0 not found. \0", 19);
  struct {
    std::uint32_t number;
    SystemMsgFlavour flavour;
    bool force, bracketed;
    TextView text;
    int lookUps;
  } const cases[] = {{2, SystemMsgFlavour::Caller, false, false, u"File not found.", 1},
                     {2, SystemMsgFlavour::Caller, false, true, u"[2=File not found.]", 1},
                     {2, SystemMsgFlavour::DebugLog, false, false, u"File not found.", 2},
                     {2, SystemMsgFlavour::Caller, true, false, u"File not found.", 3},
                     {0xFFFFFFFF, SystemMsgFlavour::Caller, false, true,
                      u"[4294967295=FormatMessageW failure (lRet=0) Could not retrieve message from system!]", 4},
                     {0xFFFFFFFF, SystemMsgFlavour::Caller, false, false,
                      u"FormatMessageW failure (lRet=0) Could not retrieve message from system!", 5},
                     {2, SystemMsgFlavour::Caller, false, false, u"File not found.", 5}};
  FailPending(os::Error(77));
  for (const auto& each : cases) {
    EXPECT_EQ(debug.GetSystemMsg(each.number, each.flavour, each.force, each.bracketed), each.text);
    EXPECT_EQ(system.lookUps, each.lookUps) << ToUtf8(each.text);
  }
  debug.InitDebugModuleVars();
  EXPECT_EQ(debug.GetSystemMsg(2), u"File not found.");
  EXPECT_EQ(system.lookUps, 6) << "the caches are empty again";
  EXPECT_EQ(PendingSystemError(), 77u);
}

TEST_F(DebugLog, PerformanceTimer) {
  std::uint32_t time = 99;
  EXPECT_FALSE(debug.PerfTimer_HighRes_Start(time));  // the periods were not asked for
  EXPECT_EQ(time + debug.PerfTimer_GetTime(), 0u);
  ticker.known = false;
  EXPECT_FALSE(debug.PerfTimer_InitValues());
  EXPECT_EQ(entries.size(), 1u);
  ticker.known = true;
  debug.SetSwitches({.perfTimer = true});
  EXPECT_EQ(ticker.open, 1);
  EXPECT_FALSE(debug.PerfTimer_HighRes_Start(time));  // started already
  const std::uint32_t now = debug.PerfTimer_GetTime();
  EXPECT_EQ(now, ticker.now);
  ticker.held = 3;
  EXPECT_EQ(debug.PerfTimer_GetTime(), now + 1) << "a reading waits for the edge of a tick";
  debug.CleanupDebug();
  EXPECT_EQ(ticker.open, 0);
  EXPECT_FALSE(debug.PerfTimer_HighRes_Stop(time));

  EXPECT_EQ(App_Debug::PerfTimer_MakeTimePretty(3'723'004, true), u"01:02:03.004");
  EXPECT_EQ(App_Debug::PerfTimer_MakeTimePretty(3'723'004, false), u"01:02:03");
  EXPECT_EQ(App_Debug::PerfTimer_MakeTimePretty(86'400'010, true), u"00:00:00.010");
}

}  // namespace
}  // namespace ovs
