#include "nodetree/valuetext.h"

#include <QLocale>
#include <QRegularExpression>
#include <QStringList>

#include <cmath>

namespace ValueText {

namespace {

constexpr int kIpv4 = 5;
constexpr int kMac = 6;

bool ParseIpv4(const QString& text, int64_t* value)
{
    static const QRegularExpression form(QStringLiteral("^(\\d{1,3})\\.(\\d{1,3})\\.(\\d{1,3})\\.(\\d{1,3})$"));
    const auto match = form.match(text);
    if (!match.hasMatch())
        return false;
    uint64_t address = 0;
    for (int i = 1; i <= 4; ++i)
    {
        const int part = match.captured(i).toInt();
        if (part > 255)
            return false;
        address = (address << 8) | uint64_t(part);
    }
    *value = int64_t(address);
    return true;
}

bool ParseMac(const QString& text, int64_t* value)
{
    static const QRegularExpression form(
        QStringLiteral("^([0-9A-Fa-f]{1,2})([:-])([0-9A-Fa-f]{1,2})\\2([0-9A-Fa-f]{1,2})\\2([0-9A-Fa-f]{1,2})\\2"
                       "([0-9A-Fa-f]{1,2})\\2([0-9A-Fa-f]{1,2})$"));
    const auto match = form.match(text);
    if (!match.hasMatch())
        return false;
    uint64_t address = 0;
    for (int i : {1, 3, 4, 5, 6, 7})
        address = (address << 8) | uint64_t(match.captured(i).toUInt(nullptr, 16));
    *value = int64_t(address);
    return true;
}

} // namespace

bool ParseInteger(const QString& text, int representation, int64_t* value)
{
    const QString t = text.trimmed();
    if (t.isEmpty())
        return false;
    bool ok = false;
    if (t.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
    {
        static const QRegularExpression hex(QStringLiteral("^[0-9A-Fa-f]{1,16}$"));
        const QString digits = t.mid(2);
        if (!hex.match(digits).hasMatch())
            return false;
        // Up to 64 bits: a register shown as 0xFFFFFFFFFFFFFFFF is the integer -1.
        const qulonglong parsed = digits.toULongLong(&ok, 16);
        if (ok)
            *value = int64_t(parsed);
        return ok;
    }
    static const QRegularExpression decimal(QStringLiteral("^[+-]?\\d+$"));
    if (decimal.match(t).hasMatch())
    {
        const qlonglong parsed = t.toLongLong(&ok, 10);
        if (ok)
            *value = int64_t(parsed);
        return ok;
    }
    if (representation == kIpv4)
        return ParseIpv4(t, value);
    if (representation == kMac)
        return ParseMac(t, value);
    return false;
}

bool ParseDouble(const QString& text, double* value)
{
    const QString t = text.trimmed();
    bool ok = false;
    double v = t.toDouble(&ok);
    if (!ok)
        v = QLocale().toDouble(t, &ok);
    if (!ok || !std::isfinite(v))
        return false;
    *value = v;
    return true;
}

bool ParseBoolean(const QString& text, bool* value)
{
    const QString t = text.trimmed().toLower();
    if (t == QLatin1String("true") || t == QLatin1String("1"))
        *value = true;
    else if (t == QLatin1String("false") || t == QLatin1String("0"))
        *value = false;
    else
        return false;
    return true;
}

} // namespace ValueText
