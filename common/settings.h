// Access to the settings store.
//
// There is no settings object: each read or write builds a local QSettings with organisation "KVX" and
// application "KVX orna Lumivue" and lets it go. Booleans are stored as the integers 1 and 0 and count as
// true only when the stored value converts to exactly 1, so a 2 or a stray string reads as false.
//
// GUI thread only, except the skin's read during static construction.
#pragma once

#include <QString>
#include <QVariant>

namespace settings {

inline const QString kOrganisation = QStringLiteral("KVX");
inline const QString kApplication = QStringLiteral("KVX orna Lumivue");

QVariant Read(const QString& key, const QVariant& defaultValue = QVariant());
QString ReadString(const QString& key, const QString& defaultValue = QString());
int ReadInt(const QString& key, const QVariant& defaultValue);
// True only when the stored value's toInt() equals 1; defaultValue is what an absent key gives.
bool ReadBool(const QString& key, const QVariant& defaultValue);
void Write(const QString& key, const QVariant& value);
// Stores a boolean as 1 or 0.
void WriteBool(const QString& key, bool value);

} // namespace settings
