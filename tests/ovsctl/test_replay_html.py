"""The page that ovsctl replay writes, in a real browser: nothing asked for, nothing complained of, readable everywhere."""

import base64
import hashlib
import re
import unittest

from chromium import look
from ovsctl import DATA, DEMO, RULE, OvsctlTest, lines_of

HOSTILE = ["<script>document.title = 'taken'</script>", "</style></title><h1>no</h1>",
           "<img src='https://example.invalid/x'>", "\" onload='x' data-x=\"", "left \u202eright\u2066",
           "&lt;b&gt; &amp; <!-- ", "W" * 300, "\x1b[2J bell\x07 nul\x00"]
ASKED_FOR = "performance.getEntriesByType('resource').map(e => e.name)"
WIDTH = "document.documentElement.scrollWidth"
OUTSIDE = """(() => { const boxes = [...document.querySelectorAll('h1,h2,p,dt,dd,th,td,.name,.top')]
    .filter(e => (e.closest('thead') ?? e).offsetWidth > 1).map(e => [e.innerText.slice(0, 40), e.getBoundingClientRect()])
    .filter(([, b]) => b.width > 2 && b.height > 2);
    return boxes.filter(([, b]) => b.left < -1 || b.right > innerWidth + 1).map(([text]) => text) })()"""
CONTRAST = """(() => { const light = c => { const [r, g, b] = c.match(/[0-9.]+/g).map(v => v / 255)
    .map(v => v <= .04045 ? v / 12.92 : ((v + .055) / 1.055) ** 2.4); return .2126 * r + .7152 * g + .0722 * b };
    const paper = light(getComputedStyle(document.body).backgroundColor);
    return Math.min(...[...document.querySelectorAll('h1,h2,p,dt,dd,li,th,td,small,span,footer')]
      .map(e => light(getComputedStyle(e).color))
      .map(ink => (Math.max(ink, paper) + .05) / (Math.min(ink, paper) + .05))) })()"""
PAPER = "getComputedStyle(document.body).backgroundColor"
ROWS = """[...document.querySelectorAll('.rules tbody tr')].map(row =>
    [row.querySelector('th').firstChild.textContent.trim(), row.querySelector('[data-label=Matches]').textContent])"""
BARS = """[...document.querySelectorAll('.lane')].map(lane => [...lane.querySelectorAll('rect title')]
    .reduce((sum, title) => sum + Number(title.textContent.split(': ')[1]), 0))"""
TEXT, SHOWN = "document.body.textContent", "document.body.innerText"
FOREIGN = "[document.title, document.querySelectorAll('script, img, b, [onload]').length]"
HEADINGS = "[...document.querySelectorAll('h1, h2')].map(h => h.tagName).join(' ')"
NAMED_PICTURES = "document.querySelectorAll('svg:not([aria-hidden]) > title + desc').length"


class HtmlTest(OvsctlTest):
    command = "replay"

    def make(self, records, app=None):
        self.page = self.app / "report.html"
        return self.json("--html", self.page, records, app=app)

    def answers(self, views, *questions):
        """Those of each view, after what must hold in every one was checked."""
        views = [view if isinstance(view, tuple) else (view, "light") for view in views]
        seen, said = look(self.page, views, [ASKED_FOR, WIDTH, OUTSIDE, CONTRAST, *questions])
        self.assertEqual(said, [])
        for (width, scheme), (asked_for, wide, outside, contrast, *_) in zip(views, seen, strict=True):
            self.assertEqual((asked_for, outside), ([], []), (width, scheme))
            self.assertLessEqual(wide, width)
            self.assertGreaterEqual(contrast, 4.5)
        return [answers[4:] for answers in seen]

    def test_sample_records_on_wide_and_narrow_screens(self):
        report = self.make(DATA / "records.jsonl", DEMO)
        views = ((1280, "light"), (1280, "dark"), (400, "light"), (400, "dark"), (320, "light"))
        seen = self.answers(views, PAPER, ROWS, BARS, HEADINGS, NAMED_PICTURES)
        matches = [rule["matches"] for rule in report["rules"] if rule["matches"]]
        for _, *rest in seen:
            self.assertEqual(rest, [[[rule["rule"], str(rule["matches"])] for rule in report["rules"]], matches, "H1 H2 H2 H2",
                                    len(matches)])
        self.assertEqual(len({paper for paper, *_ in seen}), 2)

    def test_hostile_texts_stand_as_text(self):
        for number, text in enumerate(HOSTILE):
            self.write(self.rules / f"b&'{number}\u202e.dat", RULE + "[EventDetail]\nEventID=7\n"
                       f"EventDesc={text if number in (0, 4, 6) else text[:8]}\n")
        records = self.write("&amp; records", lines_of(*(
            {"SourceName": text, "Message": text, "TimeGenerated": f"2024030713{minute:02}09.000000-000"}
            for minute, text in enumerate(HOSTILE))))
        report = self.make(records)
        for text, rows, foreign in self.answers((1280, 400), TEXT, ROWS, FOREIGN):
            for hostile in HOSTILE[:4] + HOSTILE[5:6]:
                self.assertIn(hostile.strip(), text)
            self.assertIn("left \\u202eright\\u2066", text)
            self.assertNotRegex(text, "[\u202e\u2066\x00\x07\x1b]")
            self.assertEqual((len(rows), foreign), (len(report["rules"]), ["Rules over past records", 0]))

    def test_nothing_matched_and_nothing_read(self):
        self.make(self.write("none", ""))
        self.assertIn("No rule has matched", self.answers([400], SHOWN)[0][0])
        # The policy allows this style alone.
        text = self.page.read_text(encoding="utf-8")
        style = re.search("<style>(.*?)</style>", text, re.S).group(1)
        digest = base64.b64encode(hashlib.sha256(style.encode()).digest()).decode()
        self.assertIn(f"default-src 'none'; style-src 'sha256-{digest}'; base-uri 'none'", text)


if __name__ == "__main__":
    unittest.main()
