#include "capture/library/PngEncoder.h"

#include <QThread>
#include <QtEndian>

#include <algorithm>
#include <thread>
#include <vector>
#include <zlib.h>

namespace PngEncoder {
namespace {

// Below this many pixels a second thread costs more than it saves.
constexpr qsizetype pixelsPerThread = 512 * 1024;

struct Stripe {
    int firstRow = 0;
    int rowCount = 0;
    QByteArray deflated;
    uLong adler = 1;
    qsizetype rawSize = 0;
    bool ok = false;
};

// One row's pixels in PNG byte order (RGB or RGBA), without the filter byte.
void packPixels(const QImage &image, int y, bool alpha, uchar *out)
{
    const auto *pixel = reinterpret_cast<const QRgb *>(image.constScanLine(y));
    const int width = image.width();
    if (alpha) {
        for (int x = 0; x < width; ++x, out += 4) {
            const QRgb c = pixel[x];
            out[0] = uchar(qRed(c));
            out[1] = uchar(qGreen(c));
            out[2] = uchar(qBlue(c));
            out[3] = uchar(qAlpha(c));
        }
    } else {
        for (int x = 0; x < width; ++x, out += 3) {
            const QRgb c = pixel[x];
            out[0] = uchar(qRed(c));
            out[1] = uchar(qGreen(c));
            out[2] = uchar(qBlue(c));
        }
    }
}

// Deflates a run of rows as raw deflate blocks. All but the last stripe end on a byte
// boundary without the final-block bit, so the stripes concatenate into one stream.
// Every row uses the "up" filter (difference to the row above): on screen content it
// turns repeated rows and flat areas into zeros, which deflate even faster than raw
// pixels and into a third less space.
void deflateStripe(const QImage &image, bool alpha, int level, bool last, Stripe &stripe)
{
    const size_t pixelBytes = size_t(image.width()) * (alpha ? 4 : 3);
    const qsizetype rowBytes = qsizetype(pixelBytes) + 1;
    std::vector<uchar> above(pixelBytes, 0), current(pixelBytes), filtered(pixelBytes + 1);
    filtered[0] = 2;   // up
    if (stripe.firstRow > 0)
        packPixels(image, stripe.firstRow - 1, alpha, above.data());

    z_stream z{};
    if (deflateInit2(&z, level, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        return;
    stripe.rawSize = rowBytes * stripe.rowCount;
    stripe.deflated.resize(qsizetype(deflateBound(&z, uLong(stripe.rawSize))) + 64);
    z.next_out = reinterpret_cast<Bytef *>(stripe.deflated.data());
    z.avail_out = uInt(stripe.deflated.size());
    bool ok = true;
    for (int i = 0; i < stripe.rowCount && ok; ++i) {
        packPixels(image, stripe.firstRow + i, alpha, current.data());
        for (size_t b = 0; b < pixelBytes; ++b)
            filtered[b + 1] = uchar(current[b] - above[b]);
        above.swap(current);
        stripe.adler = adler32(stripe.adler, filtered.data(), uInt(rowBytes));
        z.next_in = filtered.data();
        z.avail_in = uInt(rowBytes);
        const bool lastRow = i + 1 == stripe.rowCount;
        const int flush = lastRow ? (last ? Z_FINISH : Z_SYNC_FLUSH) : Z_NO_FLUSH;
        const int status = deflate(&z, flush);
        ok = z.avail_in == 0 && (status == Z_OK || status == Z_STREAM_END || status == Z_BUF_ERROR);
        if (lastRow && last)
            ok = ok && status == Z_STREAM_END;
    }
    stripe.deflated.resize(qsizetype(z.total_out));
    deflateEnd(&z);
    stripe.ok = ok;
}

void appendChunk(QByteArray &png, const char *type, const char *data, qsizetype size)
{
    uchar length[4];
    qToBigEndian(quint32(size), length);
    png.append(reinterpret_cast<const char *>(length), 4);
    const qsizetype typeAt = png.size();
    png.append(type, 4);
    png.append(data, size);
    const uLong crc = crc32(0, reinterpret_cast<const Bytef *>(png.constData() + typeAt),
                            uInt(4 + size));
    uchar crcBytes[4];
    qToBigEndian(quint32(crc), crcBytes);
    png.append(reinterpret_cast<const char *>(crcBytes), 4);
}

} // namespace

QByteArray encode(const QImage &source, int level, int threads)
{
    if (source.isNull())
        return {};
    const bool alpha = source.hasAlphaChannel();
    const QImage image = source.convertToFormat(alpha ? QImage::Format_ARGB32
                                                      : QImage::Format_RGB32);
    if (image.isNull())
        return {};

    const int height = image.height();
    if (threads <= 0)
        threads = std::max(1, QThread::idealThreadCount());
    const qsizetype pixels = qsizetype(image.width()) * height;
    const int stripeCount = int(std::clamp<qsizetype>(
        std::min<qsizetype>(threads, pixels / pixelsPerThread), 1, height));

    std::vector<Stripe> stripes(static_cast<size_t>(stripeCount));
    for (int i = 0; i < stripeCount; ++i) {
        stripes[size_t(i)].firstRow = int(qsizetype(height) * i / stripeCount);
        stripes[size_t(i)].rowCount =
            int(qsizetype(height) * (i + 1) / stripeCount) - stripes[size_t(i)].firstRow;
    }
    level = std::clamp(level, 1, 9);
    {
        std::vector<std::jthread> workers;
        for (int i = 1; i < stripeCount; ++i) {
            workers.emplace_back([&, i] {
                deflateStripe(image, alpha, level, i + 1 == stripeCount, stripes[size_t(i)]);
            });
        }
        deflateStripe(image, alpha, level, stripeCount == 1, stripes[0]);
    }

    uLong adler = 1;
    qsizetype deflatedSize = 0;
    for (const Stripe &s : stripes) {
        if (!s.ok)
            return {};
        adler = adler32_combine(adler, s.adler, z_off_t(s.rawSize));
        deflatedSize += s.deflated.size();
    }

    QByteArray idat;
    idat.reserve(deflatedSize + 6);
    // zlib header: deflate with a 32 KiB window, "fastest" hint, no dictionary.
    idat.append(char(0x78));
    idat.append(char(0x01));
    for (const Stripe &s : stripes)
        idat.append(s.deflated);
    uchar adlerBytes[4];
    qToBigEndian(quint32(adler), adlerBytes);
    idat.append(reinterpret_cast<const char *>(adlerBytes), 4);

    uchar header[13];
    qToBigEndian(quint32(image.width()), header);
    qToBigEndian(quint32(height), header + 4);
    header[8] = 8;                 // bits per channel
    header[9] = alpha ? 6 : 2;     // RGBA or RGB
    header[10] = header[11] = header[12] = 0;

    QByteArray png;
    png.reserve(idat.size() + 64);
    png.append("\x89PNG\r\n\x1a\n", 8);
    appendChunk(png, "IHDR", reinterpret_cast<const char *>(header), 13);
    appendChunk(png, "IDAT", idat.constData(), idat.size());
    appendChunk(png, "IEND", nullptr, 0);
    return png;
}

} // namespace PngEncoder
