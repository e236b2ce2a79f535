// The reader of the XML inventory: <REQUEST><CONTENT>...</CONTENT>...</REQUEST>, as the
// FusionInventory and OCS agents write it (.xml and .ocs alike).
#pragma once

#include <string_view>

#include "import/inventory_content.h"

// Fills `content` from the document `text`. False with `error` set when the text is not well
// formed XML or its root is not a REQUEST holding a CONTENT element.
bool ReadXmlContent(std::string_view text, InventoryContent& content, ContentError& error);
