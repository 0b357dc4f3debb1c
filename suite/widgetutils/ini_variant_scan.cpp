#include "widgetutils/ini_variant_scan.h"

#include <QDataStream>
#include <QMetaType>
#include <QString>
#include <QStringDecoder>
#include <QStringList>

#include <algorithm>
#include <array>
#include <cstring>

namespace IniVariantScan {

namespace {

// Follows a QDataStream of one QVariant the way QVariant::load reads it, without building
// anything: the same reads, in the same order, with the stream's sticky status, so that the
// nesting measured is the nesting Qt's reader would reach.
class PayloadWalk
{
public:
    PayloadWalk(const QByteArray &data, int version, int limit)
        : m_data(reinterpret_cast<const uchar *>(data.constData())), m_size(data.size()),
          m_version(version), m_limit(limit)
    {
    }

    int run()
    {
        variant(1);
        return std::min(m_deepest, m_limit + 1);
    }

private:
    // Qt's container readers start from a good status and put a bad one back when they end,
    // so a container read after a failure still reads (and nests) as usual.
    class FreshStatus
    {
    public:
        explicit FreshStatus(bool &ok) : m_ok(ok), m_before(ok) { m_ok = true; }
        ~FreshStatus()
        {
            if (!m_before)
                m_ok = false;
        }

    private:
        bool &m_ok;
        bool m_before;
    };

    qsizetype remaining() const { return m_size - m_pos; }
    bool stop() const { return m_deepest > m_limit; }

    // Reads past the end give zeros and mark the stream, as QDataStream does.
    quint64 read(int bytes)
    {
        if (remaining() < bytes) {
            m_pos = m_size;
            m_ok = false;
            return 0;
        }
        quint64 value = 0;
        for (int i = 0; i < bytes; ++i)
            value = (value << 8) | m_data[m_pos++];
        return value;
    }

    void skip(qsizetype bytes)
    {
        if (remaining() < bytes) {
            m_pos = m_size;
            m_ok = false;
        } else {
            m_pos += bytes;
        }
    }

    void string()
    {
        const quint32 bytes = quint32(read(4));
        if (bytes == 0xffffffffu || bytes == 0)
            return;
        if (bytes & 1) { // an odd byte count is refused before its text is read
            m_ok = false;
            return;
        }
        skip(bytes);
    }

    QByteArray byteArray()
    {
        const quint32 bytes = quint32(read(4));
        if (bytes == 0xffffffffu || bytes == 0)
            return QByteArray();
        if (remaining() < qsizetype(bytes)) {
            skip(bytes);
            return QByteArray();
        }
        const QByteArray out(reinterpret_cast<const char *>(m_data + m_pos), qsizetype(bytes));
        m_pos += bytes;
        return out;
    }

    // The type id as QVariant::load maps an older stream's ids onto Qt 6's.
    int mappedType(quint32 id) const
    {
        if (m_version < QDataStream::Qt_5_0) {
            if (id == 127)
                id = 1024;
            else if (id >= 128 && id != 1024)
                id -= 97;
            else if (id == 75)
                id = 121;
            else if (id > 75 && id <= 86)
                id -= 1;
        }
        if (m_version < QDataStream::Qt_6_0) {
            if (id == 1024)
                return QMetaType::User;
            if (id >= 64 && id <= 87)
                return int(id) + QMetaType::FirstGuiType - 64;
            if (id == 121)
                return QMetaType::QSizePolicy;
            if (id == 27)
                return QMetaType::fromName("QRegExp").id();
        }
        return id > quint32(QMetaType::User) ? -1 : int(id);
    }

    // Whether reading a value of this type can read a QVariant again: the containers of
    // variants, text formats (their properties are variants) and types registered by
    // programs, whose streaming is not known here.
    static bool mayNest(int type)
    {
        if (type < 0 || type >= QMetaType::User)
            return true;
        return type == QMetaType::QVariantPair || type == QMetaType::QTextFormat;
    }

    // A value whose encoding is not followed here. At the top of the payload nothing is read
    // after it, so only a type that can nest counts; inside a container its siblings follow
    // at an unknown offset. Either way the bytes left could nest one level per four bytes.
    void unknown(int type, int depth)
    {
        if (depth > 1 || mayNest(type))
            m_deepest = int(std::min<qint64>(std::max<qint64>(m_deepest, qint64(depth) + remaining() / 4),
                                             qint64(m_limit) + 1));
        m_pos = m_size;
    }

    void variant(int depth)
    {
        m_deepest = std::max(m_deepest, depth);
        if (stop())
            return;
        int type = mappedType(quint32(read(4)));
        if (m_version >= QDataStream::Qt_4_2)
            skip(1); // the null flag
        if (type == QMetaType::User) {
            type = QMetaType::fromName(byteArray()).id();
            if (type == QMetaType::UnknownType) {
                m_ok = false;
                return;
            }
        }
        switch (type) {
        case QMetaType::UnknownType:
            if (m_version < QDataStream::Qt_5_0)
                string();
            return;
        case QMetaType::Bool:
            return skip(1);
        case QMetaType::QChar:
            return skip(2);
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::QTime:
            return skip(4);
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Double:
            return skip(8);
        case QMetaType::QSize:
        case QMetaType::QPoint:
            return skip(8);
        case QMetaType::QRect:
        case QMetaType::QLine:
        case QMetaType::QSizeF:
        case QMetaType::QPointF:
        case QMetaType::QUuid:
            return skip(16);
        case QMetaType::QRectF:
        case QMetaType::QLineF:
            return skip(32);
        case QMetaType::QColor:
            return skip(11);
        case QMetaType::QDate:
            return skip(m_version < QDataStream::Qt_5_0 ? 4 : 8);
        case QMetaType::QUrl:
            if (m_version < QDataStream::Qt_4_4)
                byteArray();
            else
                string();
            return;
        case QMetaType::QString:
            return string();
        case QMetaType::QByteArray:
            byteArray();
            return;
        case QMetaType::QStringList: {
            const FreshStatus fresh(m_ok);
            const quint32 n = quint32(read(4));
            for (quint32 i = 0; i < n && m_ok; ++i)
                string();
            return;
        }
        case QMetaType::QByteArrayList: {
            const FreshStatus fresh(m_ok);
            const quint32 n = quint32(read(4));
            for (quint32 i = 0; i < n && m_ok; ++i)
                byteArray();
            return;
        }
        case QMetaType::QVariant:
            return variant(depth + 1);
        case QMetaType::QVariantList: {
            const FreshStatus fresh(m_ok);
            const quint32 n = quint32(read(4));
            for (quint32 i = 0; i < n && m_ok && !stop(); ++i)
                variant(depth + 1);
            return;
        }
        case QMetaType::QVariantMap:
        case QMetaType::QVariantHash: {
            const FreshStatus fresh(m_ok);
            const quint32 n = quint32(read(4));
            // The value is read even when its key failed; the map stops after the pair.
            for (quint32 i = 0; i < n && m_ok && !stop(); ++i) {
                string();
                variant(depth + 1);
            }
            return;
        }
        default:
            return unknown(type, depth);
        }
    }

    const uchar *m_data;
    qsizetype m_size;
    qsizetype m_pos = 0;
    int m_version;
    int m_limit;
    bool m_ok = true;
    int m_deepest = 0;
};

bool isLineSpecial(char c)
{
    static const auto table = [] {
        std::array<bool, 256> t{};
        for (uchar special : { '=', '\n', '\r', '\\', '"', ';' })
            t[special] = true;
        return t;
    }();
    return table[uchar(c)];
}

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

void chopTrailingSpaces(QString &text, qsizetype limit)
{
    qsizetype n = text.size();
    while (n > limit && (text.at(n - 1) == QLatin1Char(' ') || text.at(n - 1) == QLatin1Char('\t')))
        --n;
    text.truncate(n);
}

// A value as QSettings unescapes it: one text, or the elements of a comma-separated list.
QStringList unescapedValue(QByteArrayView raw)
{
    QStringList list;
    bool isList = false;
    bool inQuotes = false;
    bool quoted = false;
    QString text;
    QStringDecoder fromUtf8(QStringDecoder::Utf8);
    qsizetype i = 0;
    const qsizetype n = raw.size();
    const auto skipSpaces = [&] {
        while (i < n && (raw[i] == ' ' || raw[i] == '\t'))
            ++i;
    };

    skipSpaces();
    qsizetype chopLimit = 0;
    bool chop = true; // an escape cut off by the end of the value leaves the spaces before it
    while (i < n) {
        const char c = raw[i];
        if (c == '\\') {
            ++i;
            if (i >= n) {
                chop = false;
                break;
            }
            const char e = raw[i++];
            static const char simple[] = "abfnrtv\"?'\\";
            static const char values[] = "\a\b\f\n\r\t\v\"?'\\";
            if (const char *hit = std::strchr(simple, e); hit && e) {
                text += QLatin1Char(values[hit - simple]);
                chopLimit = text.size();
                continue;
            }
            if (e == 'x' || (e >= '0' && e <= '7')) {
                const int base = e == 'x' ? 16 : 8;
                if (e == 'x' && (i >= n || hexValue(raw[i]) < 0)) {
                    if (i >= n) {
                        chop = false;
                        break;
                    }
                    chopLimit = text.size();
                    continue; // "\x" without a digit is dropped
                }
                char16_t value = e == 'x' ? 0 : char16_t(e - '0');
                while (i < n) {
                    const int digit = hexValue(raw[i]);
                    if (digit < 0 || digit >= base)
                        break;
                    value = char16_t(value * base + digit);
                    ++i;
                }
                text += QChar(value);
                chopLimit = text.size();
                if (i >= n)
                    chop = false;
                continue;
            }
            if ((e == '\n' || e == '\r') && i < n && (raw[i] == '\n' || raw[i] == '\r') && raw[i] != e)
                ++i;
            chopLimit = text.size(); // any other escaped character is dropped
            continue;
        }
        if (c == '"') {
            ++i;
            quoted = true;
            inQuotes = !inQuotes;
            if (!inQuotes) {
                skipSpaces();
                chopLimit = text.size();
            }
            continue;
        }
        if (c == ',' && !inQuotes) {
            if (!quoted)
                chopTrailingSpaces(text, chopLimit);
            isList = true;
            list.append(text);
            text.clear();
            quoted = false;
            ++i;
            skipSpaces();
            chopLimit = 0;
            continue;
        }
        qsizetype j = i + 1;
        while (j < n && raw[j] != '\\' && raw[j] != '"' && raw[j] != ',')
            ++j;
        text += fromUtf8(raw.sliced(i, j - i));
        i = j;
    }
    if (chop && !quoted)
        chopTrailingSpaces(text, chopLimit);
    if (isList)
        list.append(text);
    else
        list = QStringList{ text };
    return list;
}

int valueNesting(const QString &text, int limit)
{
    if (!text.endsWith(QLatin1Char(')')))
        return 0;
    if (text.startsWith(QLatin1String("@Variant(")))
        return payloadNesting(text.mid(9).toLatin1(), false, limit);
    if (text.startsWith(QLatin1String("@DateTime(")))
        return payloadNesting(text.mid(10).toLatin1(), true, limit);
    return 0;
}

} // namespace

int payloadNesting(const QByteArray &payload, bool dateTimeForm, int limit)
{
    return PayloadWalk(payload, dateTimeForm ? QDataStream::Qt_5_6 : QDataStream::Qt_4_0, limit).run();
}

int deepestNesting(QByteArrayView data, int limit)
{
    if (data.startsWith("\xef\xbb\xbf"))
        data = data.sliced(3);
    int deepest = 0;
    const qsizetype n = data.size();
    qsizetype pos = 0;
    while (pos < n && deepest <= limit) {
        // One logical line, split the way QSettings splits it: a line break inside quotes or
        // after a backslash continues it; ";" starts a comment at the start of a line and
        // ends the line elsewhere (outside quotes).
        qsizetype start = pos;
        while (start < n && isSpace(data[start]))
            ++start;
        qsizetype i = start;
        qsizetype equals = -1;
        bool inQuotes = false;
        while (i < n) {
            // Most bytes are none of the ones below; skip them in one tight loop.
            while (i < n && !isLineSpecial(data[i]))
                ++i;
            if (i >= n)
                break;
            const char c = data[i++];
            if (c == '=') {
                if (!inQuotes && equals < 0)
                    equals = i - 1;
            } else if (c == '\n' || c == '\r') {
                if (i == start + 1)
                    ++start;
                else if (!inQuotes) {
                    --i;
                    break;
                }
            } else if (c == '\\') {
                if (i < n) {
                    const char next = data[i++];
                    if (i < n && ((next == '\n' && data[i] == '\r') || (next == '\r' && data[i] == '\n')))
                        ++i;
                }
            } else if (c == '"') {
                inQuotes = !inQuotes;
            } else if (c == ';') {
                if (i == start + 1) {
                    while (i < n && data[i] != '\n' && data[i] != '\r')
                        ++i;
                    while (i < n && isSpace(data[i]))
                        ++i;
                    start = i;
                } else if (!inQuotes) {
                    --i;
                    break;
                }
            }
        }
        pos = i;
        if (i <= start || data[start] == '[' || equals < 0)
            continue;
        const QByteArrayView raw = data.sliced(equals + 1, i - equals - 1);
        // Without "@" or an escape that could spell one, no element of the value decodes.
        if (!raw.contains('@') && !raw.contains('\\'))
            continue;
        for (const QString &text : unescapedValue(raw))
            deepest = std::max(deepest, valueNesting(text, limit));
    }
    return std::min(deepest, limit + 1);
}

} // namespace IniVariantScan
