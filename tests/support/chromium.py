"""A page as a headless Chromium shows it: in frames of given widths and colour schemes, asked questions in JavaScript."""

import html
import json
import pathlib
import re
import subprocess
import tempfile

FRAMES = """<!doctype html><meta charset="utf-8"><body><script>
const views = %s, questions = %s, answers = [];
let left = views.length;
views.forEach(([width, scheme], i) => {
  const frame = document.createElement('iframe');
  frame.style = `border: 0; height: 900px; width: ${width}px; color-scheme: ${scheme}`;
  frame.onload = () => {
    const its = frame.contentWindow;
    answers[i] = questions.map(question => new Function('document', 'getComputedStyle', 'innerWidth', 'performance',
      'return ' + question)(its.document, its.getComputedStyle.bind(its), its.innerWidth, its.performance));
    if (--left == 0) document.body.textContent = JSON.stringify(answers);
  };
  frame.src = %s;
  document.body.append(frame);
});
</script>"""


def look(page, views, questions):
    """The answers for each view, and what the browser had to say. `views`: pairs of width and "light" or "dark";
    `questions`: expressions that know document, getComputedStyle, innerWidth and performance of the page."""
    with tempfile.TemporaryDirectory(prefix="ovs chromium ") as folder:
        frames = pathlib.Path(folder, "frames.html")
        frames.write_text(FRAMES % tuple(map(json.dumps, (views, questions, page.as_uri()))), encoding="utf-8")
        done = subprocess.run(
            ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
             "--disable-background-networking", "--allow-file-access-from-files", "--enable-logging=stderr",
             "--virtual-time-budget=20000", f"--user-data-dir={folder}/profile", "--dump-dom", frames.as_uri()],
            capture_output=True, encoding="utf-8", timeout=100, check=True)
    body = re.search("<body>(.*)</body>", done.stdout, re.S)[1]
    return json.loads(html.unescape(body)), re.findall("CONSOLE.*", done.stderr)
