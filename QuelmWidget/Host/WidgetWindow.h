// SPDX-License-Identifier: MIT
#pragma once

#include "Host/ClickAction.h"
#include "Views/Palette.h"
#include "Views/TransitionView.h"
#include "Widget/WidgetFamily.h"
#include "Views/WidgetRenderer.h"

#include <QElapsedTimer>
#include <QImage>
#include <QPoint>
#include <QTimer>
#include <QVariantAnimation>
#include <QWidget>

#include <optional>
#include <string>

namespace quelm::host {

struct MenuChoice;

// One placed widget on the desktop: a frameless, translucent window that stays below the other
// windows, exactly the family's size, showing a laid-out widget. It paints what it is given and
// reports what the user does — a click on a button or link, a drag, a context-menu choice — and
// does nothing else itself.
class WidgetWindow : public QWidget {
    Q_OBJECT

public:
    enum class Transition {
        none,      // the new render replaces the old at once (a relative time ticking)
        crossFade, // the new render fades in over the old (another entry); counts roll and
                   // swapped symbols are replaced meanwhile
    };
    static constexpr int crossFadeMilliseconds = 250;
    static constexpr int noticeMilliseconds = 4000;

    explicit WidgetWindow(WidgetFamily family, const views::Palette& palette, QWidget* parent = nullptr);

    WidgetFamily family() const { return m_family; }
    // Resizes the window to the family's size.
    void setFamily(WidgetFamily);

    void setRendered(views::RenderedWidget, Transition);
    const std::optional<views::RenderedWidget>& rendered() const { return m_rendered; }

    // A short message over the widget for a few seconds; the widget stays usable.
    void showNotice(const QString&);
    bool hasNotice() const { return !m_notice.isEmpty(); }
    // Whether a cross-fade is playing (the only time the window repaints on its own).
    bool isAnimating() const { return m_fade.state() == QAbstractAnimation::Running; }
    // What the playing animation does beyond the cross-fade; empty when none plays.
    const views::RenderTransition& transitionPlan() const { return m_transition.plan(); }

    // Starts timing a click on ITEM's button until a repaint first shows that row busy.
    void probePending(const std::string& itemID);

    // The action a click at `point` (window coordinates) would trigger.
    ClickAction actionAt(QPointF point) const;

    const views::Palette& widgetPalette() const { return m_palette; }

    // Does what the choice in the context menu asks: emits the matching request below. For menus
    // shown elsewhere than by contextMenuEvent.
    void choose(const MenuChoice&);

signals:
    void actionClicked(const quelm::host::ClickAction& action);
    void editRequested();
    void familyRequested(quelm::WidgetFamily family);
    void removeRequested();
    void addRequested();
    void quitRequested();
    void moved(QPoint position);
    void pendingShown(const QString& itemID, double milliseconds);

protected:
    void paintEvent(QPaintEvent*) override;
    void mousePressEvent(QMouseEvent*) override;
    void mouseMoveEvent(QMouseEvent*) override;
    void mouseReleaseEvent(QMouseEvent*) override;
    void contextMenuEvent(QContextMenuEvent*) override;
    void moveEvent(QMoveEvent*) override;

private:
    void endAnimation();
    bool showsBusy(const std::string& itemID) const;

    WidgetFamily m_family;
    views::Palette m_palette;
    std::optional<views::RenderedWidget> m_rendered;
    // The new render's image, while a change to it plays.
    QImage m_image;
    QVariantAnimation m_fade;
    views::TransitionView m_transition;

    QString m_notice;
    QTimer m_noticeTimer;

    std::optional<QPoint> m_pressGlobal;
    QPoint m_pressWindowPosition;
    bool m_dragging = false;
    bool m_systemMove = false;

    struct PendingProbe {
        std::string itemID;
        QElapsedTimer clock;
        bool rendered = false;
    };
    std::optional<PendingProbe> m_probe;
};

}
