// SPDX-License-Identifier: MIT
#pragma once

#include "Views/BoundedCache.h"
#include "Views/ViewTree.h"

#include <QFont>
#include <QFontMetricsF>
#include <QGlyphRun>
#include <QImage>
#include <QList>
#include <QString>

#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

class QPaintDevice;
class QPainter;
class QPointF;

namespace quelm::views {

// The widget's typeface: Inter when the font database has it, else the desktop's UI font.
// Sizes are points, which are device-independent pixels here: a font is made for a paint device
// by converting with that device's logical DPI. Everything the layout measures and the painter
// draws goes through one Typography, so that what was measured is what is painted.
// Needs a QGuiApplication. Safe to use from several threads.
class Typography {
public:
    Typography();

    // The process-wide instance (built on first use).
    static const Typography& standard();

    const QString& family() const { return m_family; }
    bool isInter() const { return m_family == QLatin1String("Inter"); }

    // The font of `font` for drawing on `device` (its logical DPI turns points into pixels).
    QFont font(const Font& font, const QPaintDevice& device) const;

    // Measured on a device whose logical DPI makes one point one pixel.
    double width(std::string_view text, const Font&) const;
    double lineHeight(const Font&) const;
    double ascent(const Font&) const;
    // `text` cut to fit `width`, ending in "…"; unchanged when it fits.
    std::string elided(std::string_view text, const Font&, double width) const;
    // `text` broken at word boundaries (anywhere in a word wider than `width`) into at most
    // `lineLimit` lines that fit `width`; the last line is elided when text remains.
    std::vector<std::string> wrapped(std::string_view text, const Font&, double width, int lineLimit) const;

    // Draws one line of `text` with its baseline starting at `baseline` (points), in the
    // painter's pen. The line is shaped once and kept: a widget redraws the same texts often.
    void drawLine(QPainter&, QPointF baseline, std::string_view text, const Font&) const;

    // Forgets every measured and shaped text (the font metrics stay).
    void forgetTexts() const;

    // A paint device on which one point is one pixel (72 dots per inch).
    static void makePointSized(QImage&);

private:
    const QFontMetricsF& metrics(const Font&) const;
    QList<QGlyphRun> shaped(std::string_view text, const Font&) const;
    std::vector<std::string> wrappedLines(std::string_view text, const Font&, double width, int lineLimit) const;

    QString m_family;
    QImage m_referenceDevice;
    mutable std::mutex m_mutex;
    mutable std::map<std::pair<double, FontWeight>, QFontMetricsF> m_metrics;
    // Shaping a text is what measuring and drawing it cost, and every render asks for the same
    // texts again. Keyed by the font's bytes and the text (and the width and line limit).
    mutable BoundedCache<std::string, double> m_widths;
    mutable BoundedCache<std::string, std::vector<std::string>> m_wrapped;
    mutable BoundedCache<std::string, QList<QGlyphRun>> m_shaped;
};

}
