// SPDX-License-Identifier: MIT
#pragma once

#include "Intent/ToggleItemIntent.h"

#include <QObject>
#include <QThreadPool>
#include <QString>

namespace quelm::host {

// Runs the toggle intents of the widgets' buttons off the UI thread (perform() writes a command
// file, the pending marks and posts the notification) and reports each outcome back on the UI
// thread. Intents run one after another, in click order.
class IntentRunner : public QObject {
    Q_OBJECT

public:
    explicit IntentRunner(QObject* parent = nullptr);
    ~IntentRunner() override;

    // `origin`: who asked (the placed widget's id), handed back with the outcome.
    void run(const QString& origin, const ToggleItemIntent& intent);

    // Blocks until every intent handed to `run` has ended; for shutting down.
    void waitForDone();

signals:
    // `error` is empty when the intent succeeded, else what went wrong.
    void finished(const QString& origin, const quelm::ToggleItemIntent& intent, const QString& error);

private:
    QThreadPool m_pool;
};

}
