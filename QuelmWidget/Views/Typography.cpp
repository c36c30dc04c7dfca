// SPDX-License-Identifier: MIT
#include "Views/Typography.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QPaintDevice>
#include <QPainter>
#include <QTextLayout>
#include <QTextOption>

#include <cmath>
#include <functional>
#include <thread>

namespace quelm::views {

namespace {

constexpr double pointsPerInch = 72;
constexpr double metersPerInch = 0.0254;
constexpr double referenceSize = 1000;
// Relative times change every minute; a long-running host must not keep every one it showed.
constexpr std::size_t maximumRememberedWidths = 4096;
constexpr std::size_t maximumRememberedWrappings = 256;
constexpr std::size_t maximumRememberedLines = 512;

QFont::Weight qtWeight(FontWeight weight)
{
    switch (weight) {
    case FontWeight::medium:
        return QFont::Medium;
    case FontWeight::semibold:
        return QFont::DemiBold;
    case FontWeight::bold:
        return QFont::Bold;
    case FontWeight::regular:
        break;
    }
    return QFont::Normal;
}

QString chooseFamily()
{
    if (QFontDatabase::families().contains(QStringLiteral("Inter")))
        return QStringLiteral("Inter");
    return QGuiApplication::font().family();
}

QString toQString(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

template<typename Number>
void appendBytes(std::string& key, Number value)
{
    key.append(reinterpret_cast<const char*>(&value), sizeof value);
}

// The fields of fixed length first, as bytes, then `text`: no two different requests make the
// same key.
template<typename... Fields>
std::string textKey(std::string_view text, const Font& font, Fields... fields)
{
    std::string key;
    key.reserve(sizeof font.size + 1 + (sizeof fields + ... + 0) + text.size());
    appendBytes(key, font.size);
    key.push_back(static_cast<char>(font.weight));
    (appendBytes(key, fields), ...);
    key.append(text);
    return key;
}

}

Typography::Typography()
    : m_family(chooseFamily())
    , m_referenceDevice(1, 1, QImage::Format_ARGB32_Premultiplied)
    , m_widths(maximumRememberedWidths)
    , m_wrapped(maximumRememberedWrappings)
    , m_shaped(maximumRememberedLines)
{
    makePointSized(m_referenceDevice);
}

const Typography& Typography::standard()
{
    static const Typography typography;
    return typography;
}

void Typography::makePointSized(QImage& image)
{
    const int dotsPerMeter = static_cast<int>(std::lround(pointsPerInch / metersPerInch));
    image.setDotsPerMeterX(dotsPerMeter);
    image.setDotsPerMeterY(dotsPerMeter);
}

QFont Typography::font(const Font& font, const QPaintDevice& device) const
{
    QFont qfont(m_family);
    const int dpi = device.logicalDpiY() > 0 ? device.logicalDpiY() : static_cast<int>(pointsPerInch);
    qfont.setPointSizeF(font.size * pointsPerInch / dpi);
    qfont.setWeight(qtWeight(font.weight));
    qfont.setStyleStrategy(QFont::PreferAntialias);
    // Unhinted outlines keep the advances fractional and the same at every scale, so the layout
    // measured in points holds for the painted pixels.
    qfont.setHintingPreference(QFont::PreferNoHinting);
    qfont.setKerning(true);
    return qfont;
}

const QFontMetricsF& Typography::metrics(const Font& font) const
{
    const std::pair key { font.size, font.weight };
    std::lock_guard lock(m_mutex);
    auto found = m_metrics.find(key);
    if (found == m_metrics.end())
        found = m_metrics.emplace(key, QFontMetricsF(this->font(font, m_referenceDevice), &m_referenceDevice)).first;
    return found->second;
}

double Typography::width(std::string_view text, const Font& font) const
{
    return m_widths.get(textKey(text, font), [&] { return metrics(font).horizontalAdvance(toQString(text)); });
}

// The font engine rounds a size's ascent and descent to whole pixels, which would make lines of
// nearby sizes jump by a pixel. A line's height is the design's, scaled: measured once at a size
// where the rounding does not matter.
double Typography::lineHeight(const Font& font) const
{
    const QFontMetricsF& reference = metrics({ referenceSize, font.weight });
    return (reference.ascent() + reference.descent()) * font.size / referenceSize;
}

double Typography::ascent(const Font& font) const
{
    return metrics({ referenceSize, font.weight }).ascent() * font.size / referenceSize;
}

std::string Typography::elided(std::string_view text, const Font& font, double width) const
{
    // A hair of slack: a text measured to exactly this width must not lose its last letter.
    if (this->width(text, font) <= width + 0.01)
        return std::string(text);
    return m_wrapped.get(textKey(text, font, width, 1), [&] { return std::vector { metrics(font).elidedText(toQString(text), Qt::ElideRight, width).toStdString() }; }).front();
}

std::vector<std::string> Typography::wrapped(std::string_view text, const Font& font, double width, int lineLimit) const
{
    if (lineLimit <= 1 || this->width(text, font) <= width + 0.01)
        return { elided(text, font, width) };
    return m_wrapped.get(textKey(text, font, width, lineLimit), [&] { return wrappedLines(text, font, width, lineLimit); });
}

std::vector<std::string> Typography::wrappedLines(std::string_view text, const Font& font, double width, int lineLimit) const
{
    // A device of its own: layouts may run on several threads at once.
    QImage device(1, 1, QImage::Format_ARGB32_Premultiplied);
    makePointSized(device);
    const QString all = toQString(text);
    QTextLayout layout(all, this->font(font, device), &device);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);

    std::vector<std::string> lines;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        if (static_cast<int>(lines.size()) + 1 == lineLimit) {
            lines.push_back(elided(all.mid(line.textStart()).toStdString(), font, width));
            break;
        }
        // The space a line was broken at belongs to neither line.
        lines.push_back(all.mid(line.textStart(), line.textLength()).trimmed().toStdString());
    }
    layout.endLayout();
    if (lines.empty())
        lines.emplace_back();
    return lines;
}

QList<QGlyphRun> Typography::shaped(std::string_view text, const Font& font) const
{
    // Each thread draws the runs it shaped: a run holds the font engine of the thread that made
    // it, and font engines are not shared between threads.
    const std::size_t thread = std::hash<std::thread::id>()(std::this_thread::get_id());
    return m_shaped.get(textKey(text, font, thread), [&] {
        // A device of its own: renders may run on several threads at once.
        QImage device(1, 1, QImage::Format_ARGB32_Premultiplied);
        makePointSized(device);
        QTextLayout layout(toQString(text), this->font(font, device), &device);
        layout.beginLayout();
        QTextLine line = layout.createLine();
        layout.endLayout();
        if (!line.isValid())
            return QList<QGlyphRun>();
        // Relative to the baseline, which is where the painter is asked to draw.
        QList<QGlyphRun> runs = layout.glyphRuns();
        for (QGlyphRun& run : runs) {
            QList<QPointF> positions = run.positions();
            for (QPointF& position : positions)
                position.ry() -= line.ascent();
            run.setPositions(positions);
        }
        return runs;
    });
}

void Typography::drawLine(QPainter& painter, QPointF baseline, std::string_view text, const Font& font) const
{
    for (const QGlyphRun& run : shaped(text, font))
        painter.drawGlyphRun(baseline, run);
}

void Typography::forgetTexts() const
{
    m_widths.clear();
    m_wrapped.clear();
    m_shaped.clear();
}

}
