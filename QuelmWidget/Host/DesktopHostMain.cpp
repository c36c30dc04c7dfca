// SPDX-License-Identifier: MIT
#include "Host/DesktopHostMain.h"

#include "Host/DesktopHost.h"
#include "Host/HostDisplay.h"
#include "Host/HostTexts.h"
#include "Host/InstanceStore.h"
#include "Timeline/SnapshotCache.h"
#include "Widget/QuelmWidgetBundle.h"


#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QLockFile>

#include <cstdlib>
#include <malloc.h>
#include <memory>
#include <ostream>

namespace quelm::host {

int runDesktopHost(int& argc, char** argv, const DesktopHostOptions& options, std::ostream& err)
{
    // Qt would abort without a display; say what is missing instead.
    HostDisplay display = HostDisplay::open();
    if (display.platform().kind == HostPlatform::Kind::none) {
        err << "quelm-widget: " << display.platform().problem << '\n';
        return EXIT_FAILURE;
    }
    const auto filePath = InstanceStore::defaultFilePath();
    if (!filePath) {
        err << "quelm-widget: no place for the widgets' settings (neither XDG_CONFIG_HOME nor HOME is set)\n";
        return EXIT_FAILURE;
    }

    // The host sits on the desktop all session long, so it stays small. Its widgets are painted
    // in software, so the X11 OpenGL integration is never loaded; and its few short-lived worker
    // threads share two malloc arenas rather than each keeping one of its own.
    if (!std::getenv("QT_XCB_GL_INTEGRATION"))
        ::setenv("QT_XCB_GL_INTEGRATION", "none", 1);
    ::mallopt(M_ARENA_MAX, 2);

    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("quelm-widget"));
    QApplication::setDesktopFileName(QStringLiteral("dev.quelm.QuelmWidget"));
    // No application-wide icon: looking it up in the icon theme and handing it to every widget's
    // window costs the start more than anything but the first render, and the widgets' windows
    // show no icon anywhere. The dialogs and the tray icon take it when they open.
    // The widgets are tool windows; the host ends when the user quits it, not when one closes.
    QApplication::setQuitOnLastWindowClosed(false);
    installTranslation(application);

    const QString directory = QFileInfo(*filePath).absolutePath();
    QDir().mkpath(directory);
    QLockFile lock(QDir(directory).filePath(QStringLiteral("host.lock")));
    if (!lock.tryLock(0)) {
        qint64 pid = 0;
        QString hostName;
        QString holder;
        lock.getLockInfo(&pid, &hostName, &holder);
        err << "quelm-widget: the desktop widgets are shown already";
        if (pid > 0)
            err << " (process " << pid << ")";
        err << '\n';
        return EXIT_FAILURE;
    }

    // Every widget's timelines read the snapshot through one cache, so that a heartbeat or a
    // click decodes nothing that has not changed.
    auto snapshots = std::make_shared<SnapshotCache>();
    const QuelmWidgetBundle bundle(TimelineProvider(&Date::now, [snapshots](const SharedStore& store) { return snapshots->read(store); }));
    DesktopHost host(bundle, InstanceStore(*filePath));
    QObject::connect(&host, &DesktopHost::emptied, &application, &QCoreApplication::quit, Qt::QueuedConnection);
    QObject::connect(&host, &DesktopHost::quitRequested, &application, &QCoreApplication::quit, Qt::QueuedConnection);
    display.attach(host);
    host.start(err, options.autostart ? DesktopHost::WhenEmpty::end : DesktopHost::WhenEmpty::openGallery);
    const int status = QApplication::exec();
    host.flushSaves();
    return status;
}

}
