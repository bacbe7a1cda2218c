"""The page that ovsctl replay writes, in a real browser: nothing asked for, nothing complained of, readable everywhere."""

import base64
import hashlib
import re
import unittest

from chromium import Chromium
from ovsctl import DATA, DEMO, RULE, OvsctlTest, lines_of

HOSTILE = ["<script>document.title = 'taken'</script>", "</style></title><h1>no</h1>",
           "<img src='https://example.invalid/x'>", "\" onload='x' data-x=\"", "left \u202eright\u2066",
           "&lt;b&gt; &amp; <!-- ", "W" * 300, "\x1b[2J bell\x07 nul\x00"]
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


class HtmlTest(OvsctlTest):
    command = "replay"

    @classmethod
    def setUpClass(cls):
        cls.browser = Chromium()
        cls.addClassCleanup(cls.browser.__exit__)

    def setUp(self):
        super().setUp()
        self.page = self.app / "report.html"

    def make(self, records, app=None):
        return self.json("--html", self.page, records, app=app)

    def open(self, width, scheme="light"):
        """The page at that width, after what must hold for each of them was checked."""
        page = self.browser.open(self.page.as_uri(), width, scheme=scheme)
        self.assertEqual(page.said(), [])
        self.assertEqual(page.requests(), [self.page.as_uri()])
        self.assertLessEqual(page.evaluate("document.documentElement.scrollWidth"), width)
        self.assertEqual(page.evaluate(OUTSIDE), [])
        self.assertGreaterEqual(page.evaluate(CONTRAST), 4.5)
        return page

    def test_sample_records_on_wide_and_narrow_screens(self):
        report = self.make(DATA / "records.jsonl", DEMO)
        papers = set()
        for width, scheme in ((1280, "light"), (1280, "dark"), (400, "light"), (400, "dark"), (320, "light")):
            page = self.open(width, scheme)
            papers.add(page.evaluate("getComputedStyle(document.body).backgroundColor"))
            rows = page.evaluate("[...document.querySelectorAll('.rules tbody tr')].map(r => [r.querySelector('th').firstChild"
                                 ".textContent.trim(), r.querySelector('[data-label=Matches]').textContent])")
            self.assertEqual(rows, [[rule["rule"], str(rule["matches"])] for rule in report["rules"]])
            bars = page.evaluate("[...document.querySelectorAll('.lane')].map(l => [...l.querySelectorAll('rect title')]"
                                 ".reduce((sum, t) => sum + Number(t.textContent.split(': ')[1]), 0))")
            self.assertEqual(bars, [rule["matches"] for rule in report["rules"] if rule["matches"]])
        self.assertEqual(len(papers), 2)
        self.assertEqual(page.evaluate("[...document.querySelectorAll('h1, h2')].map(h => h.tagName).join(' ')"), "H1 H2 H2 H2")
        self.assertEqual(page.evaluate("document.querySelectorAll('svg:not([aria-hidden]) > title + desc').length"), len(bars))

    def test_hostile_texts_stand_as_text(self):
        for number, text in enumerate(HOSTILE):
            name = f"b&'{number}\u202e.dat"
            self.write(self.rules / name, RULE + "[EventDetail]\nEventID=7\n"
                       f"EventDesc={text if number in (0, 4, 6) else text[:8]}\n")
        records = self.write("&amp; records", lines_of(*(
            {"SourceName": text, "Message": text, "TimeGenerated": f"2024030713{minute:02}09.000000-000"}
            for minute, text in enumerate(HOSTILE))))
        report = self.make(records)
        for width in (1280, 400):
            page = self.open(width)
            text = page.evaluate("document.body.textContent")
            for hostile in HOSTILE[:4] + HOSTILE[5:6]:
                self.assertIn(hostile.strip(), text)
            self.assertIn("left \\u202eright\\u2066", text)
            self.assertNotRegex(text, "[\u202e\u2066\x00\x07\x1b]")
            self.assertEqual(page.evaluate("[document.title, document.querySelectorAll('script, img, b, [onload]').length]"),
                             ["Rules over past records", 0])
            self.assertEqual(page.evaluate("document.querySelectorAll('.rules tbody tr').length"), len(report["rules"]))

    def test_nothing_matched_and_nothing_read(self):
        self.make(self.write("none", ""))
        self.assertIn("No rule has matched", self.open(400).evaluate("document.body.innerText"))
        # The policy allows this style alone.
        text = self.page.read_text(encoding="utf-8")
        style = re.search("<style>(.*?)</style>", text, re.S).group(1)
        digest = base64.b64encode(hashlib.sha256(style.encode()).digest()).decode()
        self.assertIn(f"default-src 'none'; style-src 'sha256-{digest}'; base-uri 'none'", text)


if __name__ == "__main__":
    unittest.main()
