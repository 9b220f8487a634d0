#include "common/settings.h"

#include <QSettings>

namespace settings {

QVariant Read(const QString& key, const QVariant& defaultValue)
{
    QSettings store(kOrganisation, kApplication);
    return store.value(key, defaultValue);
}

QString ReadString(const QString& key, const QString& defaultValue)
{
    return Read(key, defaultValue).toString();
}

int ReadInt(const QString& key, const QVariant& defaultValue)
{
    return Read(key, defaultValue).toInt();
}

bool ReadBool(const QString& key, const QVariant& defaultValue)
{
    return Read(key, defaultValue).toInt() == 1;
}

void Write(const QString& key, const QVariant& value)
{
    QSettings store(kOrganisation, kApplication);
    store.setValue(key, value);
}

void WriteBool(const QString& key, bool value)
{
    Write(key, value ? 1 : 0);
}

} // namespace settings
