// SPDX-License-Identifier: MIT
#pragma once

#include "Timeline/TimelineEntry.h"
#include "Views/Palette.h"
#include "Widget/QuelmWidgetBundle.h"
#include "Widget/WidgetFamily.h"

#include <QDialog>
#include <QFutureWatcher>

#include <map>
#include <vector>

class QToolButton;

namespace quelm::host {

// The "add widget…" gallery: the widget's name and description over one preview per family it
// offers, each drawn from the provider's preview snapshot (the sample entry). Choosing a
// preview places a widget of that family.
class WidgetGallery : public QDialog {
    Q_OBJECT

public:
    // Previews are drawn at this fraction of the widget's size.
    static constexpr double previewScale = 0.5;

    WidgetGallery(const QuelmWidget& widget, const views::Palette& palette, QWidget* parent = nullptr);
    ~WidgetGallery() override;

    // The families offered, in order.
    std::vector<WidgetFamily> families() const;
    // Whether the preview of `family` is drawn yet.
    bool hasPreview(WidgetFamily family) const;
    // Chooses `family` as if its preview had been clicked.
    void choose(WidgetFamily family);

signals:
    void familyChosen(quelm::WidgetFamily family);
    // Every preview is drawn.
    void previewsReady();

private:
    void previewArrived(WidgetFamily family, const TimelineEntry& entry);

    views::Palette m_palette;
    std::map<WidgetFamily, QToolButton*> m_buttons;
    std::map<WidgetFamily, bool> m_drawn;
    QFutureWatcher<std::vector<TimelineEntry>> m_previews;
};

}
