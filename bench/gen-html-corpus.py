#!/usr/bin/env python3
"""Writes a synthetic HTML corpus for the lead-extraction benchmarks.

    bench/gen-html-corpus.py OUT.html [SIZE_MB]   (default 200)

Pages look like crawled web pages: markup, scripts, styles, navigation links and prose,
with about one e-mail address per 2 KB, in mailto links and in visible text, plus the
"@" look-alikes real pages carry (CSS at-rules, handles, "user@host" without a dot).
Every address is distinct and has a common ending, so the whole-corpus lead list equals
the plain list of pattern matches (what `rg -o` prints). Deterministic for a given size.
"""
import random
import sys

out_path = sys.argv[1]
size = int(sys.argv[2] if len(sys.argv) > 2 else 200) * 1024 * 1024
rng = random.Random(20261123)

WORDS = ("the of and to in is for on that with as by this from are at be or an was have which "
         "services products company contact about team support quality customers solutions "
         "office market business industry project design development research information "
         "report price delivery order shipping policy privacy terms account news events").split()
FIRST = "john mary peter anna li wei sofia carlos fatima olga raj emma noah liam mia".split()
LAST = "smith garcia mueller rossi tanaka kim nguyen silva ivanov kowalski brown dubois".split()
ROLES = "info sales support office contact admin webmaster hr press billing".split()
DOMAINS = "acme globex initech umbrella stark wayne hooli vandelay wonka tyrell".split()
ENDINGS = ("com net org de co.uk fr com.au nl it es io ca ch se jp in br edu gov info biz "
           "ru pl be at dk no fi nz za mx").split()

counter = 0


def address():
    global counter
    counter += 1
    if rng.random() < 0.3:
        local = rng.choice(ROLES)
    else:
        local = rng.choice(FIRST) + rng.choice("._-") + rng.choice(LAST)
    if rng.random() < 0.2:
        local = local.capitalize()
    domain = rng.choice(DOMAINS)
    host = ("mail." if rng.random() < 0.1 else "") + f"{domain}{counter}"
    return f"{local}{counter}@{host}.{rng.choice(ENDINGS)}"


def prose(n):
    return " ".join(rng.choice(WORDS) for _ in range(n)).capitalize() + "."


def page():
    parts = ["<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>",
             prose(5), "</title>\n<style>\n@media screen { body { margin: 0 } }\n",
             "@import url(\"site.css\");\n.nav a { color: #333; }\n</style>\n",
             "<script>var cfg = {user: 'guest', host: 'localhost'}; // user@localhost\n",
             "function go(u) { window.location = u; }</script>\n</head>\n<body>\n<ul class=\"nav\">\n"]
    for _ in range(rng.randint(5, 15)):
        parts.append(f"<li><a href=\"/{rng.choice(WORDS)}/{rng.choice(WORDS)}.html\">"
                     f"{rng.choice(WORDS).title()}</a></li>\n")
    parts.append("</ul>\n")
    for _ in range(rng.randint(8, 20)):
        parts.append("<p>" + prose(rng.randint(20, 60)))
        r = rng.random()
        if r < 0.08:
            parts.append(f" Write to <a href=\"mailto:{address()}\">us</a>.")
        elif r < 0.16:
            parts.append(f" Contact: {address()}.")
        elif r < 0.22:
            parts.append(f" Follow @{rng.choice(DOMAINS)} or ask root@server.")
        parts.append("</p>\n")
    parts.append(f"<footer>&copy; {rng.choice(DOMAINS).title()} | <a href=\"http://www."
                 f"{rng.choice(DOMAINS)}.com/privacy.html\">Privacy</a></footer>\n</body></html>\n")
    return "".join(parts)


written = 0
with open(out_path, "w", encoding="ascii", newline="\n") as out:
    while written < size:
        chunk = "".join(page() for _ in range(50))
        out.write(chunk)
        written += len(chunk)
print(f"{out_path}: {written} bytes, {counter} addresses", file=sys.stderr)
