// SPDX-License-Identifier: MIT
#include "Host/WidgetGallery.h"

#include "Host/ApplicationIcon.h"
#include "Host/HostTexts.h"
#include "Timeline/TimelineContext.h"
#include "Views/WidgetRenderer.h"
#include "Views/Localizer.h"
#include "Views/QuelmWidgetView.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPixmap>
#include <QToolButton>
#include <QVBoxLayout>
#include <QtConcurrent/QtConcurrentRun>

namespace quelm::host {

WidgetGallery::WidgetGallery(const QuelmWidget& widget, const views::Palette& palette, QWidget* parent)
    : QDialog(parent)
    , m_palette(palette)
{
    setWindowTitle(hostText(HostTexts::gallery));
    setWindowIcon(applicationIcon());

    auto* name = new QLabel(widgetText(QuelmWidget::configurationDisplayName), this);
    QFont heading = name->font();
    heading.setBold(true);
    heading.setPointSizeF(heading.pointSizeF() * 1.3);
    name->setFont(heading);
    auto* description = new QLabel(widgetText(QuelmWidget::description), this);
    description->setWordWrap(true);

    auto* previews = new QHBoxLayout;
    for (const WidgetFamily family : QuelmWidget::supportedFamilies) {
        auto* button = new QToolButton(this);
        button->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
        button->setAutoRaise(true);
        button->setText(familyDisplayName(family));
        button->setAccessibleName(familyDisplayName(family));
        const WidgetSize size = familySize(family);
        button->setIconSize(QSize(static_cast<int>(size.width * previewScale), static_cast<int>(size.height * previewScale)));
        connect(button, &QToolButton::clicked, this, [this, family] { choose(family); });
        previews->addWidget(button, 0, Qt::AlignBottom);
        m_buttons.emplace(family, button);
        m_drawn.emplace(family, false);
    }

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(name);
    layout->addWidget(description);
    layout->addLayout(previews);

    // Asking for a preview is asking the provider, which the UI thread never does itself.
    connect(&m_previews, &QFutureWatcher<std::vector<TimelineEntry>>::finished, this, [this] {
        const std::vector<TimelineEntry> entries = m_previews.result();
        for (std::size_t index = 0; index < entries.size() && index < QuelmWidget::supportedFamilies.size(); ++index)
            previewArrived(QuelmWidget::supportedFamilies[index], entries[index]);
        emit previewsReady();
    });
    m_previews.setFuture(QtConcurrent::run([provider = widget.provider] {
        std::vector<TimelineEntry> entries;
        for (const WidgetFamily family : QuelmWidget::supportedFamilies)
            entries.push_back(provider.snapshot(QuelmWidget::makeConfiguration(), TimelineContext { family, true }));
        return entries;
    }));
}

WidgetGallery::~WidgetGallery()
{
    m_previews.waitForFinished();
}

std::vector<WidgetFamily> WidgetGallery::families() const
{
    return { QuelmWidget::supportedFamilies.begin(), QuelmWidget::supportedFamilies.end() };
}

bool WidgetGallery::hasPreview(WidgetFamily family) const
{
    const auto found = m_drawn.find(family);
    return found != m_drawn.end() && found->second;
}

void WidgetGallery::choose(WidgetFamily family)
{
    emit familyChosen(family);
    accept();
}

void WidgetGallery::previewArrived(WidgetFamily family, const TimelineEntry& entry)
{
    views::RenderOptions options;
    options.currentLocale = views::Localizer::currentLocaleName();
    const WidgetView view = QuelmWidget::view(entry, family);
    const views::RenderedWidget rendered = views::renderWidget(view.entry, view.family, options);
    QImage image = views::paintWidget(rendered, previewScale * devicePixelRatioF(), m_palette);
    image.setDevicePixelRatio(devicePixelRatioF());
    m_buttons.at(family)->setIcon(QPixmap::fromImage(image));
    m_drawn[family] = true;
}

}
