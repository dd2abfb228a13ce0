"""Opens pages in headless Chromium: what a reader would see of them, measured, and as screenshots."""

import html
import json
import os
import re
import subprocess
import tempfile

# Run in the frame around the page. The page itself holds no script; its frame is as wide as the wanted window, so
# that the page's rules about width and colours see exactly that.
MEASURE = """
const frame = document.querySelector('iframe');
frame.addEventListener('load', () => {
  const page = frame.contentDocument, view = frame.contentWindow;
  const inside = (inner, outer) => inner.left >= outer.left - 1 && inner.right <= outer.right + 1 &&
                                   inner.top >= outer.top - 1 && inner.bottom <= outer.bottom + 1;
  const pictures = [...page.querySelectorAll('svg')].map(svg => {
    const room = svg.getBoundingClientRect();
    const texts = [...svg.querySelectorAll('text')].map(text => [text, text.getBoundingClientRect()]);
    const apart = (a, b) => a.right <= b.left || b.right <= a.left || a.bottom - 3 <= b.top || b.bottom - 3 <= a.top;
    return {
      width: room.width, height: room.height,
      marks: svg.querySelectorAll('path, rect, circle').length,
      letters: Math.min(...texts.map(([_, box]) => box.height)),
      outside: texts.filter(([_, box]) => !inside(box, room)).map(([text]) => text.textContent),
      overlapping: texts.flatMap(([a, boxA], i) => texts.slice(i + 1)
        .filter(([_, boxB]) => !apart(boxA, boxB)).map(([b]) => a.textContent + ' / ' + b.textContent)),
    };
  });
  document.querySelector('#measured').textContent = JSON.stringify({
    width: view.innerWidth, contentWidth: page.documentElement.scrollWidth, height: page.documentElement.scrollHeight,
    dark: view.matchMedia('(prefers-color-scheme: dark)').matches,
    paper: view.getComputedStyle(page.body).backgroundColor, ink: view.getComputedStyle(page.body).color,
    requests: view.performance.getEntriesByType('resource').map(entry => entry.name),
    scripts: page.querySelectorAll('script, img, link, iframe').length,
    tooWide: [...page.querySelectorAll('main *')].filter(e => !e.closest('svg') &&
      e.getBoundingClientRect().right > view.innerWidth + 1).map(e => e.tagName + ': ' + e.textContent.slice(0, 80)),
    first: page.body.innerText.trim().split('\\n')[0],
    firstTop: page.querySelector('h1').getBoundingClientRect().top,
    pictures,
  });
});
frame.srcdoc = SOURCE;
"""


def measure(page, width, dark, screenshot=None):
    """Opens the page. Returns what MEASURE found, and what came on the console; leaves a picture when asked to."""
    with tempfile.TemporaryDirectory() as folder:
        frame = os.path.join(folder, "frame.html")
        with open(page, encoding="utf-8") as file:
            source = json.dumps(file.read()).replace("</", "<\\/")
        with open(frame, "w", encoding="utf-8") as file:
            file.write('<!DOCTYPE html><meta charset="utf-8"><style>body{margin:0}iframe{border:0}</style>'
                       f'<iframe width="{width}" height="800"></iframe><pre id="measured" hidden></pre>'
                       f"<script>{MEASURE.replace('SOURCE', source)}</script>")
        dom, errors = _run(folder, dark, "--dump-dom", frame)
        found = re.search(r'<pre id="measured"[^>]*>([^<]+)</pre>', dom)
        if found is None:
            raise AssertionError(f"the browser has measured nothing: {dom[:300]} {errors}")
        measured = json.loads(html.unescape(found[1]))
        measured["errors"] = errors
        if screenshot is not None:
            with open(frame, encoding="utf-8") as file:
                tall = file.read().replace('height="800"', f'height="{measured["height"]}"')
            with open(frame, "w", encoding="utf-8") as file:
                file.write(tall)
            size = f"--window-size={max(width, 500)},{measured['height']}"
            _run(folder, dark, f"--screenshot={screenshot}", frame, size)
        return measured


def _run(folder, dark, action, page, *more):
    command = ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--no-first-run", "--disable-dev-shm-usage",
               "--hide-scrollbars", f"--user-data-dir={folder}/profile", "--enable-logging=stderr",
               "--disable-background-networking", "--disable-component-update", "--disable-sync",
               f"--blink-settings=preferredColorScheme={0 if dark else 1}", "--virtual-time-budget=5000",
               *more, action, "file://" + os.path.abspath(page)]
    result = subprocess.run(command, capture_output=True, text=True, timeout=60, check=True)
    return result.stdout, [line for line in result.stderr.splitlines() if ":CONSOLE" in line]
