#include "DocumentFiles.h"

#include "support/SheetFiles.h"
#include "support/TestSupport.h"

#include <QFileInfo>

#include <zlib.h>

namespace corvane::test {

QByteArray docxBody(const QStringList &paragraphs)
{
    QByteArray body = "<?xml version=\"1.0\"?><w:document xmlns:w=\"urn:w\"><w:body>";
    for (const QString &paragraph : paragraphs)
        body += "<w:p>" + paragraph.toUtf8() + "</w:p>";
    return body + "</w:body></w:document>";
}

void writeDocx(const QString &path, const QByteArray &documentXml,
               const QList<std::pair<QString, QByteArray>> &moreParts)
{
    QList<std::pair<QString, QByteArray>> parts = {{"[Content_Types].xml", "<Types/>"},
                                                   {"word/document.xml", documentXml}};
    writeZip(path, parts + moreParts);
}

namespace {

// Deflates the pieces one by one, so a stream far larger unpacked is never held.
class Deflater
{
public:
    Deflater() { deflateInit2(&m_z, 9, Z_DEFLATED, 15, 8, Z_DEFAULT_STRATEGY); }
    ~Deflater() { deflateEnd(&m_z); }
    void add(const QByteArray &bytes, int flush = Z_NO_FLUSH)
    {
        m_z.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.constData()));
        m_z.avail_in = uInt(bytes.size());
        char buffer[65536];
        do {
            m_z.next_out = reinterpret_cast<Bytef *>(buffer);
            m_z.avail_out = sizeof buffer;
            deflate(&m_z, flush);
            m_out.append(buffer, qsizetype(sizeof buffer - m_z.avail_out));
        } while (m_z.avail_out == 0);
    }
    QByteArray finish()
    {
        add({}, Z_FINISH);
        return m_out;
    }

private:
    z_stream m_z{};
    QByteArray m_out;
};

QByteArray pdfWithContents(const QList<QByteArray> &contents)
{
    QList<QByteArray> objects = {"<< /Type /Catalog /Pages 2 0 R >>",
                                 {},
                                 "<< /Type /Font "
                                 "/Subtype /Type1 "
                                 "/BaseFont /Helvetica >>"};
    QByteArray kids;
    for (const QByteArray &content : contents) {
        const int page = int(objects.size()) + 1;
        kids += QByteArray::number(page) + " 0 R ";
        objects << "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents " +
                       QByteArray::number(page + 1) +
                       " 0 R /Resources << /Font << /F1 3 0 R >> >> >>";
        objects << "<< /Length " + QByteArray::number(content.size()) +
                       " /Filter /FlateDecode >>\nstream\n" + content + "\nendstream";
    }
    objects[1] = "<< /Type /Pages /Kids [" + kids + "] /Count " +
                 QByteArray::number(contents.size()) + " >>";
    QByteArray pdf = "%PDF-1.4\n";
    QList<qsizetype> offsets;
    for (qsizetype i = 0; i < objects.size(); ++i) {
        offsets << pdf.size();
        pdf += QByteArray::number(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const qsizetype xref = pdf.size();
    pdf += "xref\n0 " + QByteArray::number(objects.size() + 1) + "\n0000000000 65535 f \n";
    for (const qsizetype offset : offsets)
        pdf += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
    pdf += "trailer\n<< /Size " + QByteArray::number(objects.size() + 1) +
           " /Root 1 0 R >>\nstartxref\n" + QByteArray::number(xref) + "\n%%EOF\n";
    return pdf;
}

} // namespace

QByteArray pdfBytes(const QStringList &pages)
{
    QList<QByteArray> contents;
    for (const QString &text : pages) {
        Deflater content;
        content.add("BT /F1 12 Tf 72 712 Td (" + text.toLatin1() + ") Tj ET");
        contents << content.finish();
    }
    return pdfWithContents(contents);
}

QByteArray pdfStringBomb(qint64 stringBytes)
{
    Deflater content;
    content.add("BT /F1 12 Tf 72 712 Td (");
    const QByteArray chunk(1 << 20, 'a');
    for (qint64 done = 0; done < stringBytes; done += chunk.size())
        content.add(chunk);
    content.add(") Tj ET");
    return pdfWithContents({content.finish()});
}

bool pdfHelperBuilt()
{
    return QFileInfo(binaryDir() + QStringLiteral("/bin/corvane-pdf-text")).isExecutable();
}

} // namespace corvane::test
