// SPDX-License-Identifier: MIT
#include "Views/SymbolImages.h"

#include "Views/DevicePixels.h"

#include <QFile>
#include <QString>
#include <QSvgRenderer>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <mutex>
#include <tuple>
#include <vector>

namespace quelm::views {

namespace {

QString resourcePath(std::string_view symbol)
{
    return QStringLiteral(":/quelm/symbols/") + QString::fromUtf8(symbol.data(), static_cast<qsizetype>(symbol.size()))
        + QStringLiteral(".svg");
}

// The symbol's coverage in white, unblurred.
QImage renderCoverage(std::string_view symbol, int pixels, int margin)
{
    QImage image(pixels + 2 * margin, pixels + 2 * margin, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QSvgRenderer renderer(resourcePath(symbol));
    if (!renderer.isValid())
        return image;
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, QRectF(margin, margin, pixels, pixels));
    return image;
}

void tint(QImage& image, const QColor& color)
{
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
}

// Box sizes whose three passes approximate a Gaussian of `sigma` (W. Jarosz, "Fast image
// convolutions"): the radii of three successive box blurs.
std::array<int, 3> boxRadii(double sigma)
{
    constexpr int passes = 3;
    const double idealWidth = std::sqrt(12 * sigma * sigma / passes + 1);
    int lower = static_cast<int>(std::floor(idealWidth));
    if (lower % 2 == 0)
        --lower;
    const int upper = lower + 2;
    const double idealCount = (12 * sigma * sigma - passes * lower * lower - 4 * passes * lower - 3 * passes) / (-4.0 * lower - 4);
    const int count = static_cast<int>(std::lround(idealCount));
    std::array<int, 3> radii {};
    for (int i = 0; i < passes; ++i)
        radii[static_cast<std::size_t>(i)] = std::max(0, ((i < count ? lower : upper) - 1) / 2);
    return radii;
}

// One box blur of radius `r` along rows (stride 1) or columns (stride = width) of an alpha plane.
void boxBlur(std::vector<float>& plane, int width, int height, int r, bool horizontal)
{
    if (r <= 0)
        return;
    const int lines = horizontal ? height : width;
    const int length = horizontal ? width : height;
    const int step = horizontal ? 1 : width;
    const float scale = 1.0f / static_cast<float>(2 * r + 1);
    std::vector<float> line(static_cast<std::size_t>(length));
    for (int l = 0; l < lines; ++l) {
        const int start = horizontal ? l * width : l;
        for (int i = 0; i < length; ++i)
            line[static_cast<std::size_t>(i)] = plane[static_cast<std::size_t>(start + i * step)];
        float sum = 0;
        // Outside the plane is transparent.
        for (int i = 0; i <= r && i < length; ++i)
            sum += line[static_cast<std::size_t>(i)];
        for (int i = 0; i < length; ++i) {
            plane[static_cast<std::size_t>(start + i * step)] = sum * scale;
            const int entering = i + r + 1;
            const int leaving = i - r;
            if (entering < length)
                sum += line[static_cast<std::size_t>(entering)];
            if (leaving >= 0)
                sum -= line[static_cast<std::size_t>(leaving)];
        }
    }
}

QImage gaussianBlurredAlpha(const QImage& coverage, double sigma)
{
    const int width = coverage.width();
    const int height = coverage.height();
    std::vector<float> plane(static_cast<std::size_t>(width * height));
    for (int y = 0; y < height; ++y) {
        const auto* row = reinterpret_cast<const QRgb*>(coverage.constScanLine(y));
        for (int x = 0; x < width; ++x)
            plane[static_cast<std::size_t>(y * width + x)] = static_cast<float>(qAlpha(row[x]));
    }
    for (const int r : boxRadii(sigma)) {
        boxBlur(plane, width, height, r, true);
        boxBlur(plane, width, height, r, false);
    }
    QImage result(width, height, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < height; ++y) {
        auto* row = reinterpret_cast<QRgb*>(result.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const int alpha = std::clamp(static_cast<int>(std::lround(plane[static_cast<std::size_t>(y * width + x)])), 0, 255);
            row[x] = qRgba(alpha, alpha, alpha, alpha);
        }
    }
    return result;
}

enum class Kind {
    tinted,
    halo,
};

using CacheKey = std::tuple<std::string, int, QRgb, Kind, int>;

class Cache {
public:
    template<typename Make>
    QImage get(const CacheKey& key, const Make& make)
    {
        {
            std::lock_guard lock(m_mutex);
            if (auto found = m_images.find(key); found != m_images.end())
                return found->second;
        }
        QImage image = make();
        std::lock_guard lock(m_mutex);
        // A widget shows a few dozen symbols, colours and sizes; a session that went through
        // many screens and palettes starts again rather than keep them all.
        if (m_images.size() >= maximumImages && !m_images.contains(key))
            m_images.clear();
        return m_images.emplace(key, std::move(image)).first->second;
    }

    std::size_t size()
    {
        std::lock_guard lock(m_mutex);
        return m_images.size();
    }

private:
    static constexpr std::size_t maximumImages = 256;

    std::mutex m_mutex;
    std::map<CacheKey, QImage> m_images;
};

Cache& cache()
{
    static Cache instance;
    return instance;
}

}

bool SymbolImages::has(std::string_view symbol)
{
    return QFile::exists(resourcePath(symbol));
}

QImage SymbolImages::tinted(std::string_view symbol, int pixels, const QColor& color)
{
    const CacheKey key { std::string(symbol), pixels, color.rgba(), Kind::tinted, 0 };
    return cache().get(key, [&] {
        QImage image = renderCoverage(symbol, pixels, 0);
        tint(image, color);
        return image;
    });
}

std::size_t SymbolImages::keptImages()
{
    return cache().size();
}

int SymbolImages::haloMargin(double sigma)
{
    return static_cast<int>(std::ceil(3 * sigma));
}

QImage SymbolImages::halo(std::string_view symbol, int pixels, const QColor& color, double sigma)
{
    const int sigmaKey = static_cast<int>(std::lround(sigma * 100));
    const CacheKey key { std::string(symbol), pixels, color.rgba(), Kind::halo, sigmaKey };
    return cache().get(key, [&] {
        const int margin = haloMargin(sigma);
        QImage image = gaussianBlurredAlpha(renderCoverage(symbol, pixels, margin), sigma);
        tint(image, color);
        return image;
    });
}

void SymbolImages::paint(QPainter& painter, std::string_view symbol, const QRectF& frame, double side, const QColor& color,
    const QColor& haloColor, double haloRadius)
{
    const QTransform toDevice = painter.deviceTransform();
    const double scale = std::sqrt(std::abs(toDevice.determinant()));
    const int pixels = std::max(1, static_cast<int>(std::lround(side * scale)));
    const QPointF centre = toDevice.map(frame.center());
    const QPoint origin(static_cast<int>(std::lround(centre.x() - pixels / 2.0)), static_cast<int>(std::lround(centre.y() - pixels / 2.0)));

    if (haloColor.alpha() > 0 && haloRadius > 0) {
        // A shadow's radius is about two standard deviations of its blur.
        const double sigma = haloRadius * scale / 2;
        const int margin = haloMargin(sigma);
        drawAtDevicePixel(painter, origin - QPoint(margin, margin), halo(symbol, pixels, haloColor, sigma));
    }
    drawAtDevicePixel(painter, origin, tinted(symbol, pixels, color));
}

}
