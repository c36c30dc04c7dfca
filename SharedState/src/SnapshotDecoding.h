// SPDX-License-Identifier: MIT
#pragma once

#include "FileAccess.h"

#include <quelm/WidgetSnapshot.h>

namespace quelm::detail {

// Decodes the snapshot in `document` as `decode` does, giving back the pages of a large document it
// has made records of, so that a snapshot at the size limit is never held twice over. Throws what
// `decode` throws, or BytesGivenBack when telling what is wrong would take bytes already given back.
WidgetSnapshot decodeGivingBack(DocumentBytes& document);

}
