#!/usr/bin/env python3
"""Writes the generated seeds of the fuzz corpus: workbooks (.xlsx and .xls built here byte
by byte) and scrambled .qdx record files. The text seeds are kept as plain files.

    fuzz/make_seeds.py      (rewrites fuzz/corpus/workbook/*.xls*, fuzz/corpus/record_files/*)
"""
import io
import os
import struct
import zipfile

HERE = os.path.dirname(os.path.abspath(__file__))


def write(target, name, data):
    folder = os.path.join(HERE, "corpus", target)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), "wb") as out:
        out.write(data)


# ---- .qdx: Windows-1252 text, each byte c stored as 248 - c, lines ended by CR LF -----------

def scrambled(text):
    return bytes(248 - b for b in text.encode("cp1252"))


def qdx(records, ending=b"\r\n"):
    return b"".join(scrambled(r) + ending for r in records)


def record_seeds():
    write("record_files", "taxonomy.qdx", qdx(["1@Rail", "2@Sailing", "5@Boote & Segel"]))
    write("record_files", "kb_mail_groups.qdx",
          qdx(["1@1@Demo-11-23-25-1200@/data/KB/Demo-11-23-25-1200", "2@1@Zwei@KB/Zwei"]))
    write("record_files", "keywords.qdx", qdx(["1@1@rail", "2@1@boat", "3@2@Caf\u00e9"]))
    write("record_files", "index.qdx",
          qdx(["1##http://a.test/", "2##http://b.test/page.html", "3##http://c.test/?q=1"]))
    # Damage a hand edit or a torn write leaves: bytes with no plain image (249 to 255),
    # blank lines, lone CR and LF, numbers out of range, a page number that is a path.
    write("record_files", "damaged.qdx",
          qdx(["1@ok", "", "  "]) + b"\xf9\xfa\xff\r\n" + qdx(["2147483647@last"], b"\r") +
          qdx(["-7@neg", "x@notanumber", "noat"], b"\n") + qdx(["../1##http://evil.test/"]) +
          scrambled("99999999999@big"))
    write("record_files", "overflow.qdx", qdx(["2147483647@top", "2147483647@1@kw"]))


# ---- .xlsx: a zip of XML parts -----------------------------------------------------------

WORKBOOK = (b'<workbook xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main" '
            b'xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships">'
            b'<sheets><sheet name="Leads" sheetId="1" r:id="rId1"/></sheets></workbook>')
RELS = (b'<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
        b'<Relationship Id="rId1" Target="worksheets/sheet1.xml"/></Relationships>')
SHARED = (b'<sst><si><t>Email Id</t></si><si><t>ann@firm.com</t></si>'
          b'<si><r><t>bo</t></r><r><t>b@x.org</t></r><rPh><t>x</t></rPh></si></sst>')
SHEET = (b'<worksheet><sheetData>'
         b'<row r="1"><c r="A1" t="s"><v>0</v></c><c r="B1"><v>7</v></c></row>'
         b'<row r="2"><c r="A2" t="s"><v>1</v></c></row>'
         b'<row r="3"><c r="A3" t="inlineStr"><is><t>cy@inline.net</t></is></c></row>'
         b'<row r="4"><c r="A4" t="s"><v>2</v></c></row>'
         b'</sheetData></worksheet>')


def xlsx(parts, method):
    data = io.BytesIO()
    with zipfile.ZipFile(data, "w", method) as book:
        for name, content in parts:
            info = zipfile.ZipInfo(name, date_time=(2025, 1, 1, 0, 0, 0))
            info.compress_type = method
            book.writestr(info, content)
    return data.getvalue()


def xlsx_seeds():
    full = [("xl/workbook.xml", WORKBOOK), ("xl/_rels/workbook.xml.rels", RELS),
            ("xl/sharedStrings.xml", SHARED), ("xl/worksheets/sheet1.xml", SHEET)]
    write("workbook", "shared_strings.xlsx", xlsx(full, zipfile.ZIP_STORED))
    write("workbook", "deflated.xlsx", xlsx(full, zipfile.ZIP_DEFLATED))
    write("workbook", "sheet_only.xlsx", xlsx(
        [("xl/worksheets/sheet1.xml",
          b'<worksheet><sheetData><row><c t="inlineStr"><is><t>a@b.com</t></is></c></row>'
          b'<row><c t="str"><v>c@d.com</v></c></row></sheetData></worksheet>')],
        zipfile.ZIP_STORED))


# ---- .xls: a BIFF8 workbook stream inside an OLE compound file ---------------------------

def biff(kind, body=b""):
    return struct.pack("<HH", kind, len(body)) + body


def bof(substream):
    return biff(0x0809, struct.pack("<HHHHII", 0x0600, substream, 0x0DBB, 0x07CC, 0, 6))


def xls_stream(cells):
    """cells: column-1 values from row 1 down; str goes to the shared strings, float stays,
    None leaves the cell out."""
    strings = [c for c in cells if isinstance(c, str)]
    sst = struct.pack("<II", len(strings), len(strings)) + b"".join(
        struct.pack("<HB", len(s), 0) + s.encode("latin-1") for s in strings)
    name = b"Leads"
    boundsheet_size = 4 + 4 + 2 + 2 + len(name)  # record header, offset, state and type, name
    globals_ = (bof(0x0005) + biff(0x0042, struct.pack("<H", 1252)))
    tail = biff(0x00FC, sst) + biff(0x000A)
    sheet_offset = len(globals_) + boundsheet_size + len(tail)
    globals_ += biff(0x0085, struct.pack("<IBBBB", sheet_offset, 0, 0, len(name), 0) + name)
    globals_ += tail
    sheet = bof(0x0010) + biff(0x0200, struct.pack("<IIHHH", 0, len(cells), 0, 1, 0))
    index = 0
    for row, cell in enumerate(cells):
        if cell is None:
            continue
        if isinstance(cell, str):
            sheet += biff(0x00FD, struct.pack("<HHHI", row, 0, 15, index))
            index += 1
        else:
            sheet += biff(0x0203, struct.pack("<HHHd", row, 0, 15, cell))
    return globals_ + sheet + biff(0x000A)


def compound_file(stream, stream_name="Workbook"):
    """One stream in a version 3 compound file: FAT in sector 0, directory in sector 1."""
    sector = 512
    free, end, fat_sector, no_stream = 0xFFFFFFFF, 0xFFFFFFFE, 0xFFFFFFFD, 0xFFFFFFFF
    # Streams below 4096 bytes would live in the mini stream; padding keeps to plain sectors.
    stream = stream.ljust(max(4096, -(-len(stream) // sector) * sector), b"\0")
    stream_sectors = len(stream) // sector
    fat = [fat_sector, end] + [2 + i + 1 for i in range(stream_sectors - 1)] + [end]
    fat += [free] * (sector // 4 - len(fat))
    header = struct.pack("<8s16sHHHHH6sIIIIIIIII", b"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1",
                         b"\0" * 16, 0x003E, 0x0003, 0xFFFE, 9, 6, b"\0" * 6, 0, 1, 1, 0, 4096,
                         end, 0, end, 0)
    header += struct.pack("<109I", 0, *([free] * 108))

    def entry(name, kind, child, start, size):
        encoded = name.encode("utf-16-le") + b"\0\0" if name else b""
        return struct.pack("<64sHBBIII16sIQQII", encoded, len(encoded), kind, 1, no_stream,
                           no_stream, child, b"\0" * 16, 0, 0, 0, start, size) + b"\0" * 4

    directory = (entry("Root Entry", 5, 1, end, 0) + entry(stream_name, 2, no_stream, 2,
                                                           len(stream)) +
                 entry("", 0, no_stream, 0, 0) * 2)
    return header + struct.pack("<128I", *fat) + directory + stream


def xls_seeds():
    write("workbook", "leads.xls",
          compound_file(xls_stream(["Email Id", "ann@firm.com", 42.0, "bo@x.org", None, "late@y.z"])))
    write("workbook", "number_first.xls", compound_file(xls_stream([3.5, "a@b.c"])))


if __name__ == "__main__":
    record_seeds()
    xlsx_seeds()
    xls_seeds()
