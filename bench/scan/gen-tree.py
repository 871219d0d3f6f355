#!/usr/bin/env python3
"""Writes a synthetic folder tree for the leads-scan benchmark.

    bench/scan/gen-tree.py OUT_DIR [SIZE_MB]   (default 1024)

Files of 16 KB to 2 MB, three folder levels deep, cut from a crawled-page-like corpus
(bench/gen-html-corpus.py, at most 64 MB of it) at varying offsets; every fifth file is
binary (random bytes with the corpus text spliced in) so both tools search past NUL bytes.
Deterministic for a given size. The data is not meant to be committed.
"""
import os
import random
import subprocess
import sys

out_dir = sys.argv[1]
size = int(sys.argv[2] if len(sys.argv) > 2 else 1024) * 1024 * 1024
here = os.path.dirname(os.path.abspath(__file__))
rng = random.Random(1123)

base_path = out_dir.rstrip("/") + ".corpus.html"
base_mb = max(1, min(64, size // (1024 * 1024)))
if not os.path.exists(base_path):
    subprocess.run([sys.executable, os.path.join(here, "..", "gen-html-corpus.py"), base_path, str(base_mb)],
                   check=True, stdout=subprocess.DEVNULL)
with open(base_path, "rb") as f:
    base = f.read()

# Binary filler without address characters, so it forms no address of its own.
noise = bytes(rng.choice(range(0x80, 0x100)) if rng.random() < 0.7 else rng.randrange(0, 0x20)
              for _ in range(1 << 16))
extensions = [".htm", ".txt", ".csv", ".htm", ".bin"]
written = 0
index = 0
while written < size:
    length = min(rng.randint(16 << 10, 2 << 20), size - written)
    folder = os.path.join(out_dir, "d%d" % (index % 8), "e%d" % (index // 8 % 8), "f%d" % (index // 64 % 4))
    os.makedirs(folder, exist_ok=True)
    ext = extensions[index % len(extensions)]
    # Whole lines only: an address cut in two would be a different address, which the
    # ending rule may drop while rg keeps it.
    start = base.find(b"\n", rng.randrange(0, max(1, len(base) - length))) + 1
    end = max(base.rfind(b"\n", start, start + length) + 1, start)
    data = base[start:end]
    if not data:
        break  # the rest is shorter than a line
    if ext == ".bin":
        # Binary runs between pieces of text; NUL-led, like office documents.
        parts = []
        at = 0
        while at < len(data):
            cut = data.find(b"\n", at + 8192)
            cut = len(data) if cut < 0 else cut + 1
            parts.append(b"\0" + noise[at % 60000:at % 60000 + 512] + b"\0")
            parts.append(data[at:cut])
            at = cut
        data = b"".join(parts)
    with open(os.path.join(folder, "file%06d%s" % (index, ext)), "wb") as f:
        f.write(data)
    written += len(data)
    index += 1
print("%s: %d files, %d MB" % (out_dir, index, written >> 20))
