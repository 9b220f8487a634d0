// The pictures and the sound that are not icons: language flags, the aperture mark of the window icon,
// the two word-mark logos, the .ico container and the beep. Build-time tool, single thread.
#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QString>
#include <QVector>

namespace artwork {

// A simplified flag of `width` by `height` pixels; a null image for an unknown language name.
QImage Flag(const QString& language, int width, int height);

// The aperture mark: a ring of six blades in `color` around a hexagonal opening, `pixels` square.
QImage ApertureMark(int pixels, const QColor& color);

// The word mark "KVX" beside the aperture mark, text in `textColor`; `textFamily` names a bold face.
QImage Logo(const QColor& textColor, const QColor& accent, const QString& textFamily);

// An .ico file with one 32 bit BMP entry per image (each at most 256 pixels square).
QByteArray IcoFile(const QVector<QImage>& images);

// A mono 16 bit PCM WAV of a sine tone with short linear fades.
QByteArray BeepWav(int sampleRate, double frequency, int milliseconds, int fadeMilliseconds, double amplitude);

} // namespace artwork
