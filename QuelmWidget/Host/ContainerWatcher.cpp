// SPDX-License-Identifier: MIT
#include "Host/ContainerWatcher.h"

#include <QDir>
#include <QFileInfo>

namespace quelm::host {

ContainerWatcher::ContainerWatcher(const QString& root, QObject* parent)
    : QObject(parent)
    , m_root(root.isEmpty() ? QString() : QDir::cleanPath(root))
{
    m_quiet.setSingleShot(true);
    m_quiet.setInterval(quietTimeMilliseconds);
    m_longest.setSingleShot(true);
    m_longest.setInterval(longestWaitMilliseconds);
    connect(&m_quiet, &QTimer::timeout, this, &ContainerWatcher::report);
    connect(&m_longest, &QTimer::timeout, this, &ContainerWatcher::report);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &ContainerWatcher::directoryChanged);
    rewatch();
}

QStringList ContainerWatcher::wantedDirectories() const
{
    if (m_root.isEmpty())
        return {};
    if (QFileInfo(m_root).isDir()) {
        QStringList wanted { m_root };
        const QString commands = QDir(m_root).filePath(QStringLiteral("commands"));
        if (QFileInfo(commands).isDir())
            wanted << commands;
        return wanted;
    }
    // Waiting for the container: the closest directory that exists is where it will appear.
    QString ancestor = QFileInfo(m_root).path();
    while (!QFileInfo(ancestor).isDir()) {
        const QString parent = QFileInfo(ancestor).path();
        if (parent == ancestor)
            return {};
        ancestor = parent;
    }
    return { ancestor };
}

bool ContainerWatcher::rewatch()
{
    const QStringList wanted = wantedDirectories();
    const QStringList watched = m_watcher.directories();
    QStringList stale;
    for (const QString& path : watched) {
        if (!wanted.contains(path))
            stale << path;
    }
    QStringList fresh;
    for (const QString& path : wanted) {
        if (!watched.contains(path))
            fresh << path;
    }
    if (!stale.isEmpty())
        m_watcher.removePaths(stale);
    if (!fresh.isEmpty())
        m_watcher.addPaths(fresh);
    return !stale.isEmpty() || !fresh.isEmpty();
}

void ContainerWatcher::directoryChanged(const QString& path)
{
    const bool moved = rewatch();
    // Above the container only its own appearance matters, not the rest of ~/.local/share.
    const bool insideContainer = path == m_root || path.startsWith(m_root + QLatin1Char('/'));
    if (!insideContainer && !moved)
        return;
    m_quiet.start();
    if (!m_longest.isActive())
        m_longest.start();
}

void ContainerWatcher::report()
{
    m_quiet.stop();
    m_longest.stop();
    emit changed();
}

}
