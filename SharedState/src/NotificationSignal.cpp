// SPDX-License-Identifier: MIT
#include "NotificationSignal.h"

namespace quelm::detail {

std::string notificationMatchRule(std::string_view name)
{
    std::string rule = "type='signal',interface='";
    rule += notificationInterface;
    rule += "',member='";
    rule += notificationMember;
    rule += "',arg0='";
    for (char c : name) {
        if (c == '\'')
            rule += "'\\''";
        else
            rule += c;
    }
    rule += '\'';
    return rule;
}

}
