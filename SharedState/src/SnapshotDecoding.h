// SPDX-License-Identifier: MIT
#pragma once

#include "FileAccess.h"

#include <quelm/WidgetSnapshot.h>

#include <optional>

namespace quelm::detail {

// Decodes the snapshot in `document` as `decode` does, giving back the pages of a large document it
// has made records of, so that a snapshot at the size limit is never held twice over. Throws what
// `decode` throws; when the error lies past bytes already given back, returns nothing instead:
// decode a fresh read of the document to learn what is wrong with it.
std::optional<WidgetSnapshot> decodeGivingBack(DocumentBytes& document);

}
