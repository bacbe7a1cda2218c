#include "platform/FS_DirList.h"

#include <gtest/gtest.h>

#include "base/Encoding.h"
#include "base/Fold.h"

namespace ovs {
namespace {

TEST(FileMask, Wildcards) {
  struct {
    TextView name, masks;
    bool matches;
  } const cases[] = {{u"Rule.DAT", u"*.dat", true},
                     {u"Rule.DAT.bak", u"*.DAT", false},
                     {u"noextension", u"*.*", true},

                     {u"noextension", u"*.?", false},
                     {u"a.cfg", u"?.cfg", true},

                     {u".cfg", u"?.cfg", false},
                     {u"b.txt", u"*.cfg; *.txt", true},
                     {u"b.ini", u"*.cfg;*.txt;", false},

                     {u"b", u";;", false},

                     {u"aXbXcd", u"a*b*c", false},
                     {u"abab", u"*ab", true},
                     {u"", u"*", true},

                     {u"größe.txt", u"GRÖSSE.TXT", false},
                     {u"größe.txt", u"GRÖßE.TXT", true}};
  for (const auto& each : cases) {
    EXPECT_EQ(MatchesMask(each.name, each.masks), each.matches) << ToUtf8(each.name) << " " << ToUtf8(each.masks);
  }
}

TEST(FileMask, ManyStarsCostNoTime) {
  EXPECT_FALSE(MatchesMask(Text(250, u'a'), u"*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*a*b"));
}

TEST(LowerCase, OrdinaryLettersWin) {
  EXPECT_EQ(LowerCase(u"App.CFG ÄÖ IΣΜ ΔЖ ß"), u"app.cfg äö iσμ δж ß");
  EXPECT_EQ(LowerCase(u"\u01C4 \u01C5 \u01C6 \u00B5 \u03C2"), u"\u01C6 \u01C6 \u01C6 \u00B5 \u03C2");
}

}  // namespace
}  // namespace ovs
