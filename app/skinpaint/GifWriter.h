#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

namespace corvane::skinpaint {

// Writes an image as a single-frame GIF89a. Qt reads GIF but cannot write it, and the skin's
// file names promise GIF, so the painter carries its own encoder. Images with more than 256
// colours are reduced by median cut first.
QByteArray encodeGif(const QImage &image);
bool writeGif(const QImage &image, const QString &path);

} // namespace corvane::skinpaint
