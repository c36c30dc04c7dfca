// SPDX-License-Identifier: MIT
#include "Host/IntentRunner.h"

#include <QFutureWatcher>
#include <QtConcurrent/QtConcurrentRun>

#include <exception>

namespace quelm::host {

IntentRunner::IntentRunner(QObject* parent)
    : QObject(parent)
{
    m_pool.setMaxThreadCount(1);
    // A thread kept between clicks is a thread less to start on the next one.
    m_pool.setExpiryTimeout(-1);
}

IntentRunner::~IntentRunner()
{
    m_pool.waitForDone();
}

void IntentRunner::waitForDone()
{
    m_pool.waitForDone();
}

void IntentRunner::run(const QString& origin, const ToggleItemIntent& intent)
{
    auto* watcher = new QFutureWatcher<QString>(this);
    connect(watcher, &QFutureWatcher<QString>::finished, this, [this, watcher, origin, intent] {
        emit finished(origin, intent, watcher->result());
        watcher->deleteLater();
    });
    watcher->setFuture(QtConcurrent::run(&m_pool, [intent]() -> QString {
        try {
            intent.perform();
            return {};
        } catch (const std::exception& error) {
            const QString message = QString::fromUtf8(error.what());
            return message.isEmpty() ? QStringLiteral("unknown error") : message;
        } catch (...) {
            return QStringLiteral("unknown error");
        }
    }));
}

}
