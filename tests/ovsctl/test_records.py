"""The records that ovsctl reads out of files: JSON lines and what wevtutil prints, whole and broken."""

import json
import re
import unittest

from ovsctl import DATA, OvsctlTest

XMLNS = "xmlns='http://schemas.microsoft.com/win/2004/08/events/event'"


def event(message="text", system="", tail=None, event_id="<EventID Qualifiers='49152'>7</EventID>"):
    tail = f"<RenderingInfo><Message>{message}</Message></RenderingInfo>" if tail is None else tail
    return (f"<Event {XMLNS}><System><Provider Name='src'/>{event_id}{system}<Channel>System</Channel>"
            f"<TimeCreated SystemTime='2024-03-07T13:05:09.5Z'/></System>{tail}</Event>\n")


class RecordsTest(OvsctlTest):
    command = "explain"

    def read(self, content, *options, code=0):
        """The records and the messages."""
        self.records.write_bytes(content.encode() if isinstance(content, str) else content)
        done = self.ovsctl("--all", "--json", *options, self.records, code=code)
        return [json.loads(line)["record"] for line in done.stdout.splitlines()], done.stderr

    def test_real_records_are_those_that_windows_itself_delivered(self):
        xml = (DATA / "rendered.xml").read_text(encoding="utf-8")
        known = {}
        for line in (DATA / "records.jsonl").read_text(encoding="utf-8").splitlines()[1380:1480]:
            record = json.loads(line)
            known[record["EventCode"], record["TimeGenerated"], record["Message"]] = record  # without blanks at its end
        records, messages = self.read(xml)
        self.assertEqual(messages, "")
        self.assertEqual(len(records), xml.count("<Event "))
        for record, element in zip(records, re.findall("<Event .*?</Event>", xml, re.S)):
            wanted = dict(known[record["EventCode"], record["TimeGenerated"], record["Message"].rstrip()])
            # The expected records name the provider; automation gives the source under which it registered.
            if classic := re.search("EventSourceName='([^']*)'", element):
                wanted["SourceName"] = classic[1]
            self.assertEqual(record | {"Message": record["Message"].rstrip()}, wanted)

    def test_the_same_in_every_encoding_and_with_any_root(self):
        plain = event("größer 😀 €\n") + event("zwei")
        wanted = self.read(plain)[0]
        self.assertEqual([record["Message"] for record in wanted], ["größer 😀 €\r\n", "zwei"])
        json_lines = "".join(json.dumps(record, ensure_ascii=False) + "\n" for record in wanted)
        rooted = f"\n <?xml version='1.0'?>\r\n<!-- a > b -->\n<Events {XMLNS}>\r\n{plain}</Events>\n"
        for text in (plain, rooted, json_lines, "\r\n\n" + json_lines.rstrip("\n")):
            for mark, encoding in ((b"", "utf-8"), (b"\xef\xbb\xbf", "utf-8"), (b"\xff\xfe", "utf-16-le"),
                                   (b"\xfe\xff", "utf-16-be")):
                self.assertEqual(self.read(mark + text.encode(encoding)), (wanted, ""), (encoding, text[:30]))
        # Characters that lie across the border of what is read at once.
        long = event("😀" * 40_000)
        for shift in range(2):
            self.assertEqual(self.read(b"\xff\xfe" + (" " * shift + long).encode("utf-16-le"))[0][0]["Message"], "😀" * 40_000)

    def test_values_are_those_of_automation(self):
        cases = [  # what stands in System, and the type
            ("<Level>0</Level>", (3, "Information")), ("<Level>1</Level>", (1, "Error")), ("<Level>2</Level>", (1, "Error")),
            ("<Level>3</Level>", (2, "Warning")), ("<Level>4</Level>", (3, "Information")),
            ("<Level>5</Level>", (3, "Information")), ("", (3, "Information")),
            ("<Level>0</Level><Keywords>0x8010000000000000</Keywords>", (5, "Audit Failure")),
            ("<Level>0</Level><Keywords>0x8020000000000000</Keywords>", (4, "Audit Success")),
            ("<Level>2</Level><Keywords>0x80000000000000</Keywords>", (1, "Error")),
        ]
        records, _ = self.read("".join(event(system=system) for system, _ in cases))
        self.assertEqual([(record["EventType"], record["Type"]) for record in records], [kind for _, kind in cases])
        self.assertEqual(records[0], {"EventType": 3, "Type": "Information", "EventCode": "7", "SourceName": "src",
                                      "Message": "text", "Logfile": "System", "TimeGenerated": "20240307130509.500000-000"})
        named = event().replace("Name='src'", "Name='a' EventSourceName='b &amp; c'")
        late = event().replace("09.5Z", "09.1234567Z") + event().replace("09.5Z", "09Z") + event().replace("2024-", "")
        records, _ = self.read(named + event(event_id="<EventID>3221232483</EventID>") + late)
        self.assertEqual((records[0]["SourceName"], records[1]["EventCode"]), ("b & c", "7011"))
        self.assertEqual([record["TimeGenerated"] for record in records[2:]],
                         ["20240307130509.123456-000", "20240307130509.000000-000", ""])

    def test_messages(self):
        cases = [
            ("a &lt;b&gt; &amp;&#233;&#x1F600;", "a <b> &é😀"),
            ("<![CDATA[<Event> & </Event> ]]]]><![CDATA[> end]]>", "<Event> & </Event> ]]> end"),
            ("before <!-- </Event> --><![CDATA[in]]> after", "before in after"),
            ("one\ntwo\r\nthree&#13;&#10;four&#10;five", "one\r\ntwo\r\nthree\r\nfour\r\nfive"),
            ("", ""),
        ]
        records, messages = self.read("".join(event(text) for text, _ in cases))
        self.assertEqual(([record["Message"] for record in records], messages), ([text for _, text in cases], ""))
        data = "<EventData><Data Name='a'>1 &lt; 2</Data><Data/><Data>two\nlines</Data><Binary>00</Binary></EventData>"
        user = "<UserData><x:Event xmlns:x='y'><Event><Deep>nested</Deep></Event></x:Event></UserData>"
        records, messages = self.read(event(tail=data) + event(tail=user) + event(tail=""))
        self.assertEqual([record["Message"] for record in records], ["1 < 2\r\ntwo\r\nlines\r\n00", "nested", ""])
        self.assertEqual(messages.count("were not rendered"), 1)
        messages = self.read(event("größer").encode("cp1252") * 2)[1]
        self.assertEqual(messages.count("/uni:true"), 1)

    def test_broken_pieces_are_named_and_the_rest_is_done(self):
        good = event()
        cases = [  # the piece, what is said of it
            (good[:40] + "\n", "not part of an event record"),
            (good[:150] + "\n", "the element has no end"),
            (good.replace("Name='src'", "Name='sr"), "not well-formed XML"),
            (good.replace("</System>", ""), "not well-formed XML"),
            (good.replace("</Event>", "</Events>"), "the element has no end"),
            (event(event_id=""), "the event has no EventID"),
            (event(event_id="<EventID>x</EventID>"), "the event has no EventID"),
            (f"<Event {XMLNS}></Event>", "the event has no System part"),
            ("some text <a/> <Event/> </Event>\n", "not part of an event record"),
            ("<a b='<!-- ", "not part of an event record"),
        ]
        for piece, reason in cases:
            for encoding in ("utf-8", "utf-16-le"):
                content = "\ufeff" + event("größer 😀") + piece + (" -->" if piece.endswith("<!-- ") else "") + good
                records, messages = self.read(content.encode(encoding), code=1)
                self.assertEqual([record["Message"] for record in records], ["größer 😀", "text"], piece)
                at = len(("\ufeff" + event("größer 😀")).encode(encoding))
                self.assertIn(f", byte {at}: {reason}", messages)
                self.assertEqual(messages.count("\n"), 1, messages)

    def test_a_truncated_end_is_named_wherever_it_was_cut(self):
        good = event("x<!-- c --><![CDATA[d]]>")
        at = len(good)
        for cut in range(1, len(good) - 2, 7):
            records, messages = self.read(good + good[:cut], code=1)
            self.assertEqual(len(records), 1)
            self.assertIn(f"byte {at}: ", messages)
        odd = good.encode("utf-16-le") + b"<"
        self.assertIn(f"byte {2 * at}", self.read(odd, code=1)[1])

    def test_what_is_too_long_is_refused_and_costs_no_more(self):
        big = 65 << 20
        records, messages = self.read(event("one") + event("x" * big) + event("two"), code=1)
        self.assertEqual([record["Message"] for record in records], ["one", "two"])
        self.assertIn(f"byte {len(event('one'))}: longer than 64 MB", messages)
        records, messages = self.read("{}\n" + '{"Message": "' + "x" * big + '"}\n{}', code=1)
        self.assertEqual(len(records), 2)
        self.assertIn("line 2: longer than 64 MB", messages)

    def test_files_that_hold_no_record(self):
        for content, said in ((b"", "no record"), (b"\xff\xfe", "no record"), (b" \n", "no record"),
                              (b"<html><body>x</body></html>", "byte 0: not part of an event record"),
                              (b"\0\1\2", "not valid JSON"), (f"<Events {XMLNS}></Events>", "no record")):
            self.assertIn(said, self.read(content, code=2)[1], content)

    def test_broken_lines_are_named_at_most_twenty_times(self):
        records, messages = self.read("{x\n" * 500 + '{"Message": "last"}', code=1)
        self.assertEqual(records[0]["Message"], "last")
        self.assertEqual(messages.count("not valid JSON; skipped"), 20)


if __name__ == "__main__":
    unittest.main()
