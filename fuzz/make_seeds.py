#!/usr/bin/env python3
"""Writes the generated seeds of the fuzz corpus: workbooks (.xlsx and .xls built here byte
by byte), scrambled .qdx record files, web archives, office documents and PDF files. The text
seeds are kept as plain files.

    fuzz/make_seeds.py      (rewrites fuzz/corpus/workbook/*.xls*, fuzz/corpus/record_files/*,
                             fuzz/corpus/warc/*, fuzz/corpus/office_text/*, fuzz/corpus/pdf_text/*)
"""
import io
import os
import gzip
import struct
import zipfile
import zlib

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


# ---- web archives: WARC records, plain or gzip ---------------------------------------------

def warc_record(kind, uri, block, extra=b""):
    head = b"WARC/1.1\r\nWARC-Type: " + kind + b"\r\n"
    if uri:
        head += b"WARC-Target-URI: " + uri + b"\r\n"
    return head + extra + b"Content-Length: %d\r\n\r\n" % len(block) + block + b"\r\n\r\n"


def warc_seeds():
    page = b"<html><title>Home</title>write to ann@firm.com</html>"
    packed = gzip.compress(page)
    chunked = b"".join(b"%x\r\n" % len(packed[i:i + 16]) + packed[i:i + 16] + b"\r\n"
                       for i in range(0, len(packed), 16)) + b"0\r\n\r\n"
    records = [
        warc_record(b"warcinfo", b"", b"software: seed\r\n",
                    b"Content-Type: application/warc-fields\r\n"),
        warc_record(b"request", b"http://a.test/", b"GET / HTTP/1.1\r\nHost: a.test\r\n\r\n"),
        warc_record(b"response", b"http://a.test/",
                    b"HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n\r\n" + page,
                    b"Content-Type: application/http;msgtype=response\r\n"),
        warc_record(b"response", b"<http://b.test/>",
                    b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n"
                    b"Content-Encoding: gzip\r\n\r\n" + chunked),
        warc_record(b"resource", b"file:///c.txt", b"cy@c.test\n"),
    ]
    write("warc", "plain.warc", b"".join(records))
    write("warc", "per_record.warc.gz", b"".join(gzip.compress(r) for r in records))
    write("warc", "whole.warc.gz", gzip.compress(b"".join(records)))
    write("warc", "deflate_body.warc",
          warc_record(b"response", b"http://d.test/", b"HTTP/1.0 404 Not Found\r\n"
                      b"Content-Encoding: deflate\r\n\r\n" + zlib.compress(page)))


# ---- office documents: zip archives of XML parts -------------------------------------------

def zipped(parts):
    data = io.BytesIO()
    with zipfile.ZipFile(data, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, content in parts:
            archive.writestr(name, content)
    return data.getvalue()


def office_seeds():
    write("office_text", "words.docx", zipped([
        ("[Content_Types].xml", b"<Types/>"),
        ("word/document.xml", b'<w:document xmlns:w="urn:w"><w:body><w:p><w:r><w:t>jo</w:t>'
                              b"</w:r><w:r><w:t>hn@firm.com&amp;&#64;</w:t></w:r></w:p><w:p><w:del>"
                              b"<w:r><w:delText>old@firm.com</w:delText></w:r></w:del><w:r>"
                              b"<w:tab/><w:t><![CDATA[cd@firm.com]]></w:t></w:r></w:p>"
                              b"</w:body></w:document>"),
        ("word/header1.xml", b"<w:hdr><w:p><w:r><w:t>head@firm.com</w:t></w:r></w:p></w:hdr>")]))
    write("office_text", "sheet.xlsx", zipped([
        ("xl/workbook.xml", b"<workbook/>"),
        ("xl/sharedStrings.xml", b"<sst><si><r><t>ri</t></r><r><t>ch@firm.com</t></r><rPh><t>x"
                                 b"</t></rPh></si></sst>"),
        ("xl/worksheets/sheet1.xml", b'<worksheet><sheetData><row><c t="inlineStr"><is><t>'
                                     b"in@firm.com</t></is></c></row></sheetData></worksheet>")]))
    write("office_text", "text.odt", zipped([
        ("mimetype", b"application/vnd.oasis.opendocument.text"),
        ("content.xml", b"<office:text><text:tracked-changes><text:p>gone@firm.com</text:p>"
                        b"</text:tracked-changes><text:p>odt@<text:span>firm.com</text:span>"
                        b"<text:s/>more</text:p></office:text>"),
        ("styles.xml", b"<style:footer><text:p>foot@firm.com</text:p></style:footer>")]))
    write("office_text", "slides.pptx", zipped([
        ("ppt/presentation.xml", b"<p:presentation/>"),
        ("ppt/slides/slide1.xml", b"<p:sld><a:p><a:r><a:t>slide@firm.com</a:t></a:r></a:p>"
                                  b"<!-- note --></p:sld>")]))


# ---- PDF: objects, a cross-reference table, flate-compressed page contents -----------------

def pdf(pages):
    objects = [b"<< /Type /Catalog /Pages 2 0 R >>", b"",
               b"<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"]
    kids = b""
    for text in pages:
        number = len(objects) + 1
        kids += b"%d 0 R " % number
        content = zlib.compress(b"BT /F1 12 Tf 72 712 Td (" + text + b") Tj ET")
        objects.append(b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents %d 0 R "
                       b"/Resources << /Font << /F1 3 0 R >> >> >>" % (number + 1))
        objects.append(b"<< /Length %d /Filter /FlateDecode >>\nstream\n" % len(content) +
                       content + b"\nendstream")
    objects[1] = b"<< /Type /Pages /Kids [" + kids + b"] /Count %d >>" % len(pages)
    out = b"%PDF-1.4\n"
    offsets = []
    for index, body in enumerate(objects):
        offsets.append(len(out))
        out += b"%d 0 obj\n" % (index + 1) + body + b"\nendobj\n"
    xref = len(out)
    out += b"xref\n0 %d\n0000000000 65535 f \n" % (len(objects) + 1)
    out += b"".join(b"%010d 00000 n \n" % offset for offset in offsets)
    out += b"trailer\n<< /Size %d /Root 1 0 R >>\nstartxref\n%d\n%%%%EOF\n" % (
        len(objects) + 1, xref)
    return out


def pdf_seeds():
    write("pdf_text", "one_page.pdf", pdf([b"mail ann@firm.com"]))
    write("pdf_text", "two_pages.pdf", pdf([b"first@page.com", b"second@page.com"]))
    # A cross-reference table that points nowhere: readers rebuild it from the objects.
    broken = bytearray(pdf([b"rebuilt@firm.com"]))
    at = broken.index(b"startxref\n") + len(b"startxref\n")
    broken[at:at + 3] = b"999"
    write("pdf_text", "bad_xref.pdf", bytes(broken))


if __name__ == "__main__":
    record_seeds()
    xlsx_seeds()
    xls_seeds()
    warc_seeds()
    office_seeds()
    pdf_seeds()
