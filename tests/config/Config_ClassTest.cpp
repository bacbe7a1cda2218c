#include "config/Config_Class.h"

#include <random>

#include "config/ckCrypt_Config.h"
#include "support/PlatformTest.h"

namespace ovs {
namespace {

using namespace std::string_literals;

constexpr TextView kDefault = u"C:\\App\\Svc.cfg";
constexpr TextView kMail = u"C:\\App\\Mail.cfg";

class ConfigClassTest : public PlatformTest {
 protected:
  ConfigClassTest() {
    memory.CreateDir(u"C:\\App").Ignore();
    config.DefaultConfigFile = kDefault;
  }
  std::unique_ptr<Config_Class> Reloaded() {
    auto other = std::make_unique<Config_Class>(fileSystem, crypt, u"C:\\App\\");
    EXPECT_TRUE(other->LoadDir(u"C:\\App"));
    return other;
  }
  static Text All(const Config_Class& store) { return store.GetAllMatchingStrings_AsIs({}); }

  ckCrypt_Config crypt{os::SystemCrypto()};
  Config_Class config{fileSystem, crypt, u"C:\\App"};
};

TEST_F(ConfigClassTest, LinesOfAFile) {
  const struct {
    std::string_view bytes;
    TextView entries;
  } cases[] = {{"a=b=c", u"a=b=c\r\n"},
               {" ;x=1\r\n;y=2\r\n[s]\r\nnone\r\n\r\nx = 1 ", u"x = 1 \r\n"},
               {"A.b=1\r\nc=2\r\na.B=3", u"A.b=3\r\nc=2\r\n"},
               {"a=1\r\nb=2\r\na=", u"b=2\r\n"},
               {"a=1\nb=2\r\nc=3\r", u"a=1\nb=2\r\nc=3\r\r\n"},
               {"=x\r\n==", u"==\r\n"},
               {"[a=b]\r\n [c=d] \r\n[e]=f\r\n[g=h", u"[e]=f\r\n[g=h\r\n"},
               {"a=\xFC", u"a=\u00fc\r\n"},
               {"", u""}};
  for (const auto& each : cases) {
    Config_Class store(fileSystem, crypt, u"C:\\App");
    Put(kMail, each.bytes);
    EXPECT_TRUE(store.LoadFiles({Text(kMail)}));
    EXPECT_EQ(All(store), each.entries) << each.bytes;
    EXPECT_EQ(store.DefinitionFiles().size(), each.bytes.empty() ? 0u : 1u);
  }
  EXPECT_TRUE(
      Logged(u"SetString on key:  [a]  triggered with no value to overwrite existing value; deleting value entirely..."));
}

TEST_F(ConfigClassTest, LoadersDifferInPrefixesSectionsAndOrigin) {
  Put(u"C:\\App\\My Rule.cfg", "a=1\r\n [Sec] \r\nb=2\r\nsec.c=x=y\r\n");
  const Text file = u"C:\\App\\My Rule.cfg";
  const struct {
    std::function<bool(Config_Class&)> load;
    TextView entries;
    TextView defFile;
    std::size_t definitionFiles;
  } cases[] = {
      {[&](auto& c) { return c.LoadDir(u"C:\\App", {.bPrefixFileName = true}); },
       u"My_Rule.a=1\r\nMy_Rule.b=2\r\nMy_Rule.sec.c=x=y\r\n", file, 1},
      {[&](auto& c) { return c.LoadDir(u"C:\\App", {.bNoDefFile = true}); }, u"a=1\r\nb=2\r\nsec.c=x=y\r\n", {}, 0},
      {[&](auto& c) { return c.LoadDir(u"C:\\App", {.bNoSave = true}); }, u"a=1\r\nb=2\r\nsec.c=x=y\r\n", file, 0},
      {[&](auto& c) {
         return !c.LoadFiles({u"", u"C:\\App\\none", file});
       },
       u"a=1\r\nb=2\r\nsec.c=x=y\r\n", file, 1},
      {[&](auto& c) { return c.LoadFile({file}); }, u"a=1\r\nb=2\r\nsec.c=x=y\r\n", file, 1},
      {[&](auto& c) { return c.LoadINI(file); }, u"a=1\r\nSec.b=2\r\nsec.c=x=y\r\n", file, 1},
      {[&](auto& c) { return c.LoadINI(file, {.sPrefix = u"P", .sDefFile = u"Mail.cfg", .bUseSections = false}); },
       u"Pa=1\r\nPb=2\r\nPsec.c=x=y\r\n", kMail, 1},
      {[&](auto& c) { return c.LoadINI(file, {.sPrefix = u"Pre", .bNoDefFile = true, .bPrefixFileName = true}); },
       u"Pre.My_Rule.a=1\r\nPre.My_Rule.Sec.b=2\r\nPre.My_Rule.Sec.sec.c=x=y\r\n", u"", 0},
      {[&](auto& c) { return c.LoadINIFromString(u"[S]\r\na=1", {.sDefFile = u"Mail.cfg"}); }, u"S.a=1\r\n", kMail, 1},
      {[&](auto& c) { return c.LoadString(u"a=b=c\r\n;x=1\r\nPre.k=v", {.sPrefix = u"Pre", .sDefFile = Text(kMail)}); },
       u"Pre.a=b\r\nPre.k=v\r\n", kMail, 1},
      {[&](auto& c) { return c.LoadString(u"a=b=c", {.sDefFile = u"Svc.cfg"}); }, u"a=b=c\r\n", kDefault, 0},
  };
  for (const auto& each : cases) {
    Config_Class store(fileSystem, crypt, u"C:\\App");
    store.DefaultConfigFile = kDefault;
    const auto at = &each - std::begin(cases);
    EXPECT_TRUE(each.load(store)) << at;
    EXPECT_EQ(All(store), each.entries) << at;
    EXPECT_EQ(store.DefinitionFiles().size(), each.definitionFiles) << at;
    EXPECT_TRUE(store.Count() == 0 || store.NewEnum().front().DefFile() == each.defFile) << at;
  }
  EXPECT_TRUE(LoggedIn(log, u"UBound(Array) = 4"));
  ASSERT_TRUE(memory.CreateDir(u"C:\\App\\Sub").Ok());
  Put(u"C:\\App\\Sub\\below.cfg", "z=1");
  Put(kDefault, "d=1");
  Config_Class store(fileSystem, crypt, u"C:\\App");
  store.DefaultConfigFile = kDefault;
  EXPECT_TRUE(store.LoadDir(u"C:\\App", {}, 0));
  EXPECT_FALSE(store.ItemExists(u"z"));
  Config_Class single(fileSystem, crypt, u"C:\\App");
  single.DefaultConfigFile = kDefault;
  EXPECT_TRUE(single.LoadFile({u"c:\\app\\svc.CFG"}) && single.ItemExists(u"d"));
  EXPECT_TRUE(single.DefinitionFiles().empty()) << "the default file is not tracked";
  EXPECT_FALSE(config.LoadDir(u"C:\\None") || config.LoadINI(u" ") || config.LoadINIFromString(u" ") ||
               config.LoadString({}));
}

TEST_F(ConfigClassTest, EachEntryReturnsToItsFile) {
  Put(kMail, "k=old\r\nm=1\r\nu=\xFC");
  Put(u"C:\\App\\X_debug.cfg", "Debug.Log.Verbose=1");
  ASSERT_TRUE(config.LoadFiles({Text(kMail), u"C:\\App\\X_debug.cfg"}));
  EXPECT_TRUE(config.SetString(u"K", u"two\r\nlines"));
  EXPECT_TRUE(config.SetLong(u"n", 5));
  EXPECT_TRUE(config.SetString(u"n2", u"6", {.sDefFile = u"SVC.CFG"}));  // the default file by another spelling
  EXPECT_TRUE(config.SetString(u"new", u"x", {.sDefFile = u"New\\New.cfg"}));
  EXPECT_TRUE(config.SetString(u"Debug.Log.Verbose", u"0"));
  EXPECT_TRUE(config.SetString(u"secret", u"s", {.bNoSave = true}));
  EXPECT_TRUE(config.SetString(u"secret", u"t", {.bNoSave = false}));  // unsaved for good
  EXPECT_FALSE(config.SetString(u"n", u"7", {.bOverwrite = false}));
  EXPECT_TRUE(config.SaveConfig());
  EXPECT_TRUE(LoggedIn(log, u"SaveConfig success:  C:\\App\\Mail.cfg"));
  EXPECT_NE(log.find(u" Verbose\r\nSaveConfig success:"), Text::npos);
  EXPECT_EQ(Content(kDefault), "n=5\r\nn2=6");
  EXPECT_EQ(Content(kMail), "k=two<NL>lines\r\nm=1\r\nu=\xC3\xBC");
  EXPECT_EQ(Content(u"C:\\App\\New\\New.cfg"), "new=x");
  EXPECT_EQ(Content(u"C:\\App\\X_debug.cfg"), "Debug.Log.Verbose=1");
  EXPECT_EQ(config.GetConfigAsString(), u"n=5\r\nn2=6\r\nk=two<NL>lines\r\nm=1\r\nu=\u00fc\r\nnew=x");
  EXPECT_TRUE(config.SaveAsNewConfigFile(u"All.txt"));
  EXPECT_EQ(Content(u"C:\\App\\All.txt"),
            "k=two<NL>lines\r\nm=1\r\nu=\xC3\xBC\r\nDebug.Log.Verbose=0\r\nn=5\r\nn2=6\r\nnew=x\r\n");
  config.WipeSettingsByDefFileName(u"ew.cfg");  // part of a name
  config.WipeSettingsByDefFileName(u"D:\\mail.CFG");
  config.WipeSettingsByDefFileName(u"svc.cfg");  // those without a file of their own, too
  for (const TextView section : {u"S", u"[S", u"[S]"}) {
    EXPECT_TRUE(config.SaveAsINI(u"C:\\App\\s.ini", section));
    EXPECT_EQ(Content(u"C:\\App\\s.ini"), "[S]\r\nDebug.Log.Verbose=0\r\nnew=x");
  }
}

TEST_F(ConfigClassTest, WhatCannotBeSavedLeavesTheOldFile) {
  Put(kMail, "m=1");
  Put(kDefault, "a=1\0"s);
  ASSERT_TRUE(config.LoadFiles({Text(kMail), Text(kDefault)}));
  EXPECT_TRUE(LoggedIn(log, u"Cannot use settings file [C:\\App\\Svc.cfg]: it is not text"));
  config.SetString(u"m", u"2");
  config.SetString(u"o", u"3", {.sDefFile = u"Other.cfg"});
  files.FailPath(u"Mail.cfg", os::Error(112));
  EXPECT_FALSE(config.SaveConfig());
  EXPECT_EQ(Content(kMail), "m=1");
  EXPECT_EQ(Content(kDefault), "a=1\0"s);  // never read, so never written over
  EXPECT_EQ(Content(u"C:\\App\\Other.cfg"), "o=3");
  EXPECT_TRUE(LoggedIn(log, u"SaveConfig failed:  C:\\App\\Mail.cfg"));
  EXPECT_TRUE(LoggedIn(log, u"SaveConfig failed:  C:\\App\\Svc.cfg"));
  files.Heal();
  memory.Delete(kDefault).Ignore();
  EXPECT_TRUE(config.SaveConfig());
  EXPECT_EQ(Content(kDefault), "");
  for (const Text& key : {u"kx\0"s, u"k\r\n"s, u"k=x"s, u" ;k"s}) EXPECT_FALSE(config.SetString(key, u"v")) << ToUtf8(key);
  EXPECT_FALSE(config.SetString(u"k", u"v\0"s) || config.SetString(u"[k", u"v]"));
  memory.Delete(kDefault).Ignore();
  config.RequireExistingFile = true;
  EXPECT_FALSE(config.SaveConfig());
  EXPECT_FALSE(Exists(kDefault));
  config.RequireExistingFile = false;
  config.DefaultConfigFile.clear();
  EXPECT_TRUE(config.SaveConfig()) << "all that could be written was";
  EXPECT_TRUE(LoggedIn(log, u"Error saving config; no default config file!"));
  EXPECT_FALSE(config.SaveAsNewConfigFile({}));
  EXPECT_TRUE(LoggedIn(log, u"Error saving config; no file!"));
}

TEST_F(ConfigClassTest, SecretsAreKeptEncryptedAndMasked) {
  config.SetString(u"Mail.Password", u"pass<NL>word");
  config.SetString(u"Token", u"tok\r\nen99", {.bEncrypted = true});
  config.Ensure_Encrypted(u"mail.password");
  config.Ensure_Encrypted(u"none");
  for (const TextView key : {u"Mail.Password", u"Token"}) {
    EXPECT_TRUE(config.GetStringRaw(key).starts_with(u"<ev~>"));
    EXPECT_TRUE(config.Item(key)->Encrypted());
  }
  EXPECT_EQ(config.GetString(u"Mail.Password") + config.GetString(u"Token"), u"pass\r\nwordtok\r\nen99");
  const Text stored = config.GetStringRaw(u"Token");
  config.Ensure_Encrypted(u"Token");
  EXPECT_EQ(config.GetStringRaw(u"Token"), stored);
  log.clear();
  Debug::dLog(kNoProc, u"pass\r\nword pass<NL>word tok<NL>en99");
  EXPECT_TRUE(log.find(u"*** *** ***") != Text::npos) << ToUtf8(log);
  // One that is too short to be looked for in texts is kept out of the trace where it is read.
  Diagnostics().SetSwitches({.procDump = true});
  config.SetString(u"Short.Password", u"q7");
  EXPECT_EQ(config.GetString(u"Short.Password"), u"q7");
  EXPECT_EQ(Diagnostics().ProcDump(false).find(u"q7"), Text::npos);
  Diagnostics().SetSwitches({});

  config.SetString(u"Broken", u"<ev~>0123");
  config.SetString(u"Old", u"~{ab");
  log.clear();
  for (int i = 0; i < 2; ++i) EXPECT_EQ(config.GetString(u"Broken"), u"");
  EXPECT_TRUE(config.SettingExist(u"Broken"));
  config.Item(u"Broken")->SetEncrypted(false);
  config.Ensure_Encrypted(u"Old");
  const std::size_t first = log.find(u"[Broken]");
  EXPECT_TRUE(first != Text::npos && log.find(u"[Broken]", first + 1) == Text::npos) << ToUtf8(log);
  EXPECT_EQ(log.find(u"<ev~>0123"), Text::npos);
  ASSERT_TRUE(config.SaveConfig());
  EXPECT_EQ(All(*Reloaded()), All(config));
  EXPECT_NE(Content(kDefault).find("Broken=<ev~>0123\r\nOld=~{ab"), std::string::npos);
  EXPECT_TRUE(config.SetString(u"Broken", u"whole"));
  EXPECT_FALSE(config.Item(u"Broken")->Encrypted());
  config.Item(u"Token")->SetEncrypted(false);
  EXPECT_EQ(config.GetStringRaw(u"Token"), u"tok<NL>en99");
}

TEST_F(ConfigClassTest, TypedValues) {
  const std::pair<ConfigValue, TextView> written[] = {{std::uint8_t{255}, u"255"},
                                                      {std::int16_t{-7}, u"-7"},
                                                      {std::int64_t{-9'000'000'000}, u"-9000000000"},
                                                      {0.1F, u"0.1"},
                                                      {-2.5, u"-2.5"},
                                                      {1e+300, u"1E+300"},
                                                      {100'000.0, u"100000"},
                                                      {-999'999'999'999'999.0, u"-999999999999999"},
                                                      {1e+15, u"1E+15"},
                                                      {0.0001, u"0.0001"},
                                                      {0.00001, u"1E-05"},
                                                      {1234567.0F, u"1234567"},
                                                      {1e+7F, u"1E+07"},
                                                      {0.0, u"0"},
                                                      {Currency{-5'500}, u"-0.55"},
                                                      {Currency{120'000}, u"12"},
                                                      {DateTime{2024, 3, 7, 13, 5, 9}, u"03/07/2024 01:05:09 PM"},
                                                      {DateTime{2024, 3, 7}, u"03/07/2024"},
                                                      {DateTime{1899, 12, 30, 6, 0, 0}, u"06:00:00 AM"},
                                                      {std::vector<Text>{u"a", u"", u"c"}, u"a<sep><sep>c"},
                                                      {std::vector<Text>{}, u""},
                                                      {true, u"1"},
                                                      {UnsupportedValue{u"Object"}, u""}};
  for (const auto& [value, text] : written) EXPECT_EQ(Config_Class::VariantToCfgString(value), text);
  EXPECT_TRUE(Logged(u"Unsupported Cfg Value Type:  Object"));

  const struct {
    TextView text;
    std::int32_t number;
    bool truth;
  } read[] = {{u" 1 ", 1, true}, {u"2", 2, true},     {u"true", -1, false},       {u"12a", -1, false}, {u"-5", -5, false},
              {u"+7", 7, false}, {u"- 5", -1, false}, {u"2147483648", -1, false}, {u"\t1", -1, false}, {u"0x1", -1, false}};
  for (const auto& each : read) {
    config.SetString(u"k", each.text);
    EXPECT_EQ(config.GetLong(u"K", true), each.number) << ToUtf8(each.text);
    EXPECT_EQ(config.GetBool(u"K", true), each.truth) << ToUtf8(each.text);
  }
  EXPECT_EQ(config.GetLong(u"none"), 0);
  EXPECT_TRUE(config.GetBool(u"none", true));
  EXPECT_TRUE(config.SetLongOrDelete(u"k", -5, {.bNoSave = true}));
  EXPECT_EQ(config.GetStringRaw(u"k"), u"-5");
  EXPECT_FALSE(config.Item(u"k")->NoSave());
  for (const std::optional<ConfigValue>& zero :
       {std::optional<ConfigValue>(), std::optional<ConfigValue>(false), std::optional<ConfigValue>(Text())}) {
    config.SetBool(u"k", true);
    EXPECT_TRUE(config.SetVarOrDelete(u"k", zero));
    EXPECT_FALSE(config.ItemExists(u"k"));
  }
  EXPECT_FALSE(config.SetLongOrDelete(u"k", 0));
}

TEST_F(ConfigClassTest, StringArrays) {
  config.SetStringArray(u"k", {u"b", u"", u"A", u"a", u"B"});
  using List = std::vector<Text>;
  const struct {
    List before;
    StringArrayOptions options;
    List after;
  } cases[] = {{{u"x"}, {}, {u"b", u"", u"A", u"a", u"B", u"x"}},
               {{u"x"}, {.bReplace = true, .bSort = true}, {u"", u"A", u"a", u"B", u"b"}},
               {{}, {.bSort = true, .bBinaryCompare = true, .bDropEmpty = true}, {u"A", u"B", u"a", u"b"}},
               {{u"B"}, {.bBinaryCompare = true, .bRemoveDuplicates = true}, {u"b", u"", u"A", u"a", u"B"}},
               {{}, {.bRemoveDuplicates = true}, {u"b", u"", u"A"}}};
  for (const auto& each : cases) {
    List list = each.before;
    EXPECT_TRUE(config.GetStringArray(u"k", list, each.options));
    EXPECT_EQ(list, each.after);
  }
  List kept = {u"x"};
  EXPECT_TRUE(config.GetStringArray(u"none", kept));
  EXPECT_FALSE(config.GetStringArray(u"none", kept, {.bReplace = true}));
  std::size_t index = 9;
  EXPECT_TRUE(Config_Class::InCfgStringArray(u" B", {u"a", u"b ", u"B"}, index));
  EXPECT_EQ(index, 1u);
  EXPECT_FALSE(Config_Class::InCfgStringArray(u"c", {}, index));
}

TEST_F(ConfigClassTest, QueriesAndWipes) {
  config.LoadString(u"Email.To=A<NL>b\r\nMy.Email.Cc=c\r\nx=email", {.sDefFile = Text(kMail)});
  config.SetString(u"EMAIL", u"d");
  EXPECT_EQ(config.GetAllMatchingStrings(u"email."), u"Email.To=A<NL>b\r\nMy.Email.Cc=c\r\n");
  EXPECT_EQ(config.GetAllMatchingStrings(u"email", u" c:\\APP\\mail.cfg", true), u"A<NL>b\r\nc\r\n");
  EXPECT_EQ(config.GetAllMatchingStrings(u"email", u"mail.cfg"), u"");
  EXPECT_EQ(config.GetMatchingStringCount(u"email"), 3);
  EXPECT_EQ(config.GetAllMatchingValues(u"EMAIL"), u"x=email\r\n");
  EXPECT_TRUE(config.SettingExist(u"X", u"D:\\MAIL.cfg "));
  EXPECT_FALSE(config.CfgSettingExists(u"EMAIL", u"mail.cfg"));
  Text file;
  EXPECT_EQ(config.GetString(u"email.to", &file), u"A\r\nb");
  EXPECT_EQ(file, kMail);
  EXPECT_EQ(config.GetString(u"none", &file) + file, u"");

  config.SetString(Config_Class::GetMetricSettingName(u"Main", 4), u"1");
  config.SetString(Config_Class::GetMetricSettingName(u"Main2", 1), u"1");
  config.WipeWindowMetrics(u"main");
  EXPECT_EQ(config.GetAllMatchingStrings(u"metrics"), u"Window_Metrics_Main2.Top=1\r\n");
  config.WipeSetting({});
  config.WipeSetting(u"email", -1, true);
  EXPECT_FALSE(config.ItemExists(u"EMAIL"));
  config.WipeSetting(u"email", 3);
  EXPECT_EQ(config.GetAllMatchingStrings(u"email"), u"Email.To=A<NL>b\r\n");
  config.WipeSetting(u"e");
  EXPECT_EQ(All(config), u"x=email\r\n");
}

TEST_F(ConfigClassTest, WhatIsSavedLoadsAgain) {
  std::mt19937 random(20240307);
  const auto below = [&](std::size_t limit) { return random() % limit; };
  const std::vector<Text> pieces = {u"a", u"B", u".", u" ",  u";",  u"\u00fc", u"\U0001F600",
                                    u"<", u"[", u"]", u"\r", u"\n", u"~{",     u"<ev~>"};
  const auto text = [&](bool isValue) {
    Text made;
    for (std::size_t n = 1 + below(5); n > 0; --n)
      made += isValue && below(4) == 0 ? (below(2) == 0 ? u"=" : u"\r\n") : pieces[below(pieces.size())];
    return made;
  };
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE(round);
    Config_Class store(fileSystem, crypt, u"C:\\App");
    store.DefaultConfigFile = kDefault;
    for (std::size_t n = below(12); n > 0; --n) {
      const std::vector<Text> origins = {u"", u"Mail.cfg", u"c:\\APP\\svc.cfg", u"A.cfg"};
      store.SetString(u"k" + text(false), text(true),
                      {.bEncrypted = below(3) == 0, .sDefFile = origins[below(4)], .bNoSave = below(9) == 0});
    }
    for (const TextView path : {kMail, TextView(u"C:\\App\\A.cfg")}) memory.Write(path, {}).Ignore();
    ASSERT_TRUE(store.SaveConfig());
    const auto loaded = Reloaded();
    std::size_t saved = 0;
    for (const Config_KVP& entry : store.NewEnum()) {
      if (entry.NoSave()) continue;
      ++saved;
      const Config_KVP* const again = loaded->Item(entry.Key());
      ASSERT_TRUE(again != nullptr) << ToUtf8(entry.Key());
      EXPECT_EQ(again->Key(), entry.Key());
      EXPECT_EQ(again->ValueData_Save_State(), entry.ValueData_Save_State());
      EXPECT_EQ(again->ValueData(), entry.ValueData());
      EXPECT_TRUE(EqualsFolded(again->DefFile(), entry.DefFile().empty() ? kDefault : entry.DefFile()));
    }
    EXPECT_EQ(loaded->Count(), saved);
  }
}

TEST_F(ConfigClassTest, LargeFiles) {
  std::string bytes;
  for (int i = 0; i < 1'000'000; ++i) bytes += "\r\n";
  bytes += "long=" + std::string(10'000'000, 'x') + "\r\n";
  for (int i = 0; i < 100'000; ++i) bytes += "k" + std::to_string(i) + "=1\r\n";
  Put(kDefault, bytes);
  ASSERT_TRUE(config.LoadFile({Text(kDefault)}));
  EXPECT_EQ(config.Count(), 100'001u);
  for (int i = 0; i < 100'000; i += 2) EXPECT_TRUE(config.Remove(FromUtf8("K" + std::to_string(i))));
  EXPECT_EQ(config.GetStringRaw(u"long").size(), 10'000'000u);
  config.SetString(u"more", Text(7'000'000, u'y'));
  EXPECT_FALSE(config.SaveConfig());  // it could not be read again
  EXPECT_EQ(Content(kDefault).size(), bytes.size());
  config.Remove(u"more");
  EXPECT_TRUE(config.SaveConfig());
  EXPECT_EQ(Reloaded()->Count(), 50'001u);
}

}  // namespace
}  // namespace ovs
