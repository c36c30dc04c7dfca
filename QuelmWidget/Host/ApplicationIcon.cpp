// SPDX-License-Identifier: MIT
#include "Host/ApplicationIcon.h"

#include <QString>

namespace quelm::host {

QIcon applicationIcon()
{
    return QIcon::fromTheme(QString::fromLatin1(applicationIconName), QIcon(QStringLiteral(":/quelm/icon/dev.quelm.Quelm.svg")));
}

}
