// Sets of ids written into statements as "in" lists, a bounded number per list, so that a large
// site gives statements of bounded length.
#pragma once

#include <string>
#include <vector>

#include "common/dynalist.h"
#include "platform/types.h"

// The ids joined by commas, `perList` to a list, in the order given; none for no ids.
NORVIK_API std::vector<std::string> IdLists(const std::vector<ULong>& ids, std::size_t perList = 500);
NORVIK_API std::vector<std::string> IdLists(const CDynaList<ULong>& ids, std::size_t perList = 500);
