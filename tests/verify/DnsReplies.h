#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace corvane::test {

// Hand-made DNS replies for the reader's tests and the fuzz corpus.
class ReplyBuilder
{
public:
    explicit ReplyBuilder(const QByteArray &questionName = labels("example.com"))
    {
        m_question = questionName;
    }

    static QByteArray labels(const QString &name)
    {
        QByteArray out;
        for (const QString &piece : name.split(QLatin1Char('.'), Qt::SkipEmptyParts)) {
            out.append(char(piece.size()));
            out.append(piece.toLatin1());
        }
        return out + QByteArray(1, '\0');
    }
    static QByteArray be16(int value)
    {
        QByteArray out;
        out.append(char((value >> 8) & 0xFF));
        out.append(char(value & 0xFF));
        return out;
    }
    // The question's name sits at offset 12 in every reply built here.
    static QByteArray pointerToQuestion() { return QByteArray("\xC0\x0C", 2); }

    ReplyBuilder &mx(int preference, const QByteArray &exchanger)
    {
        return record(15, be16(preference) + exchanger);
    }
    ReplyBuilder &record(int type, const QByteArray &data)
    {
        m_answers += pointerToQuestion() + be16(type) + be16(1) + QByteArray("\0\0\x0e\x10", 4) +
                     be16(int(data.size())) + data;
        ++m_count;
        return *this;
    }
    ReplyBuilder &answerCount(int count)
    {
        m_countOverride = count;
        return *this;
    }

    QByteArray build() const
    {
        return be16(4575) + be16(0x8180) + be16(1) +
               be16(m_countOverride >= 0 ? m_countOverride : m_count) + be16(0) + be16(0) +
               m_question + be16(15) + be16(1) + m_answers;
    }

private:
    QByteArray m_question;
    QByteArray m_answers;
    int m_count = 0;
    int m_countOverride = -1;
};

} // namespace corvane::test
