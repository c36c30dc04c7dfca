// SPDX-License-Identifier: MIT
#include "Text/QuelmMarkLabel.h"

namespace quelm {

QuelmMarkLabel QuelmMarkLabel::forRunning(bool running)
{
    if (running)
        return { "Quelm, com itens rodando", true };
    return { "Quelm", false };
}

}
