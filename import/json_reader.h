// The reader of the JSON inventory: {"action":"inventory","content":{...},"deviceid":...}.
#pragma once

#include <string_view>

#include "import/inventory_content.h"

// Fills `content` from the document `text`. False with `error` set when the text is not valid
// JSON, or not an object with a "content" object, or its "action" is not "inventory".
bool ReadJsonContent(std::string_view text, InventoryContent& content, ContentError& error);
