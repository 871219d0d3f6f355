#!/usr/bin/env python3
"""Writes a web archive (.warc.gz, one gzip member per record) for the leads-scan benchmark.

    bench/scan/gen-warc.py OUT.warc.gz SIZE_MB [PAGES_DIR]

Pages of 8 KB to 256 KB cut at line ends from a crawled-page-like corpus
(bench/gen-html-corpus.py, 64 MB of it), each stored as an HTTP response record with its own
target URI, until the compressed archive holds SIZE_MB. With PAGES_DIR the same pages are also
written there as files (p0000/page0000000.htm, ...), in record order, so that scanning the
archive and scanning the pages can be compared. Deterministic for a given size.
"""
import gzip
import os
import random
import subprocess
import sys
import uuid

out_path = sys.argv[1]
size = int(sys.argv[2]) * 1024 * 1024
pages_dir = sys.argv[3] if len(sys.argv) > 3 else None
here = os.path.dirname(os.path.abspath(__file__))
rng = random.Random(4711)

corpus_path = os.path.join(os.path.dirname(os.path.abspath(out_path)), "corvane-warc-corpus.html")
if not os.path.exists(corpus_path):
    subprocess.run([sys.executable, os.path.join(here, "..", "gen-html-corpus.py"), corpus_path, "64"],
                   check=True, stdout=subprocess.DEVNULL)
with open(corpus_path, "rb") as f:
    corpus = f.read()


def record(kind, fields, block):
    head = b"WARC/1.1\r\nWARC-Type: " + kind + b"\r\n"
    head += b"WARC-Record-ID: <urn:uuid:" + str(uuid.UUID(int=rng.getrandbits(128))).encode() + b">\r\n"
    head += b"WARC-Date: 2025-11-23T12:00:00Z\r\n"
    for name, value in fields:
        head += name + b": " + value + b"\r\n"
    head += b"Content-Length: %d\r\n\r\n" % len(block)
    return gzip.compress(head + block + b"\r\n\r\n", compresslevel=6)


written = 0
with open(out_path, "wb") as out:
    info = record(b"warcinfo", [(b"Content-Type", b"application/warc-fields")],
                  b"software: corvane bench/scan/gen-warc.py\r\n")
    out.write(info)
    written += len(info)
    page = 0
    while written < size:
        length = rng.randint(8 << 10, 256 << 10)
        start = corpus.find(b"\n", rng.randrange(0, len(corpus) - length)) + 1
        end = max(corpus.rfind(b"\n", start, start + length) + 1, start)
        body = corpus[start:end]
        uri = b"http://site%d.example/page%07d.html" % (page % 1000, page)
        block = (b"HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\n"
                 b"Content-Length: %d\r\n\r\n" % len(body)) + body
        data = record(b"response", [(b"WARC-Target-URI", uri),
                                    (b"Content-Type", b"application/http;msgtype=response")], block)
        out.write(data)
        written += len(data)
        if pages_dir:
            folder = os.path.join(pages_dir, "p%04d" % (page // 1000))
            os.makedirs(folder, exist_ok=True)
            with open(os.path.join(folder, "page%07d.htm" % page), "wb") as f:
                f.write(body)
        page += 1
print("%s: %d pages, %d MB" % (out_path, page, written >> 20))
