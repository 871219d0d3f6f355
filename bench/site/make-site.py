#!/usr/bin/env python3
"""Writes a static test site of N linked pages for crawl and download benchmarks.

    make-site.py DIR [--pages N] [--host HOST:PORT]

Pages are DIR/index.htm and DIR/pages/NNN/page-NNNNNN.htm (1000 to a folder). Every page
links to the next few pages (with relative, absolute-path and, when --host is given,
absolute http:// links) and carries two e-mail addresses, so a crawl of the site finds
every page and 2 x N distinct leads. DIR/robots.txt forbids /private/, which holds one page
whose address must never be harvested. Prints the number of pages written.
"""
import argparse
import os


def page_path(i):
    return "pages/%03d/page-%06d.htm" % (i // 1000, i)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("dir")
    ap.add_argument("--pages", type=int, default=20000)
    ap.add_argument("--host", default="")
    args = ap.parse_args()
    n = max(1, args.pages)
    root = os.path.abspath(args.dir)
    os.makedirs(os.path.join(root, "private"), exist_ok=True)

    with open(os.path.join(root, "robots.txt"), "w") as f:
        f.write("User-agent: *\nDisallow: /private/\n")
    with open(os.path.join(root, "private", "index.htm"), "w") as f:
        f.write("<html><body>hidden@private-site.com</body></html>\n")
    with open(os.path.join(root, "index.htm"), "w") as f:
        f.write("<html><head><title>Bench site</title></head><body>\n")
        for i in range(min(n, 50)):
            f.write('<a href="/%s">page %d</a>\n' % (page_path(i), i))
        f.write('<a href="/private/">private</a>\n</body></html>\n')

    made = set()
    for i in range(n):
        rel = page_path(i)
        folder = os.path.dirname(rel)
        if folder not in made:
            os.makedirs(os.path.join(root, folder), exist_ok=True)
            made.add(folder)
        links = []
        for k, j in enumerate((i + 1, i + 7, i + 31, (i * 7919) % n)):
            if j >= n:
                continue
            target = page_path(j)
            if k == 0 and os.path.dirname(target) == folder:
                links.append(os.path.basename(target))  # bare file
            elif k == 1 and args.host:
                links.append("http://%s/%s" % (args.host, target))
            else:
                links.append("/" + target)
        body = ["<html><head><title>Page %d</title></head><body>" % i,
                "<h1>Page %d of the bench site</h1>" % i,
                "<p>Sales: sales%d@bench-site.com, support: <a href=\"mailto:help%d@bench-site.net\">"
                "help</a></p>" % (i, i),
                "<p>" + ("Lorem ipsum dolor sit amet, consectetur adipiscing elit. " * 8) + "</p>"]
        body += ['<a href="%s">next %d</a>' % (href, m) for m, href in enumerate(links)]
        body.append("</body></html>\n")
        with open(os.path.join(root, rel), "w") as f:
            f.write("\n".join(body))
    print(n)


if __name__ == "__main__":
    main()
