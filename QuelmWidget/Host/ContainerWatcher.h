// SPDX-License-Identifier: MIT
#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QStringList>
#include <QTimer>

namespace quelm::host {

// Tells the host when the app group's container changes (a new snapshot or heartbeat, a command
// taken or queued), so that a fresh state shows at once. Watches the container and its "commands"
// directory through inotify; while the container does not exist yet, the nearest directory above
// it that does, until it appears. A burst of changes (the app writes several files in a row) is
// merged into one `changed()` after a short quiet time; under a steady stream of changes, which
// never leaves a quiet time, `changed()` still comes at most `longestWaitMilliseconds` after the
// first change it reports, so the widget never shows a state much older than that. No polling.
class ContainerWatcher : public QObject {
    Q_OBJECT

public:
    static constexpr int quietTimeMilliseconds = 100;
    // With the reload that follows, a shown state is at most 250 ms old.
    static constexpr int longestWaitMilliseconds = 150;

    // `root`: the container's directory; empty for no container (nothing is watched then).
    explicit ContainerWatcher(const QString& root, QObject* parent = nullptr);

    QStringList watchedDirectories() const { return m_watcher.directories(); }

signals:
    void changed();

private:
    void directoryChanged(const QString& path);
    // Brings the watched set in line with what exists; true when it changed.
    bool rewatch();
    void report();
    QStringList wantedDirectories() const;

    QString m_root;
    QFileSystemWatcher m_watcher;
    QTimer m_quiet;
    QTimer m_longest;
};

}
