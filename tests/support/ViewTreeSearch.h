// SPDX-License-Identifier: MIT
#pragma once

// Finding nodes in a view tree as `quelm-widget render --format json` and the host's trace print
// it: every node an object, its children under "children".

#include <functional>

namespace quelm::test {

// Depth-first, in reading order: the first node of `node`'s tree for which `wanted` holds.
template<class Json>
const Json* findNode(const Json& node, const std::function<bool(const Json&)>& wanted)
{
    if (wanted(node))
        return &node;
    if (node.contains("children")) {
        for (const Json& child : node["children"]) {
            if (const Json* found = findNode(child, wanted))
                return found;
        }
    }
    return nullptr;
}

}
