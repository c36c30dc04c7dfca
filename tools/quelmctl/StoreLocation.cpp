// SPDX-License-Identifier: MIT
#include "StoreLocation.h"

#include <quelm/SharedConstants.h>

namespace quelmctl {

quelm::SharedStore openStore(const Invocation& invocation)
{
    if (invocation.root)
        return quelm::SharedStore(*invocation.root);
    return openAppGroupStore();
}

quelm::SharedStore openAppGroupStore()
{
    if (auto store = quelm::SharedStore::forAppGroup(quelm::SharedConstants::appGroupIdentifier))
        return *store;
    throw CommandFailure(systemRefused,
        "no app group container for " + std::string(quelm::SharedConstants::appGroupIdentifier)
            + " (neither an absolute XDG_DATA_HOME nor HOME is set); pass --root DIR");
}

}
