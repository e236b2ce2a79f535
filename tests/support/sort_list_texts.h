// The texts of a list the library filled, in its order, for tests that compare lists whole.
#pragma once

#include <string>
#include <vector>

#include "common/sortlist.h"

inline std::vector<std::string> Texts(const CSortList& list) {
    std::vector<std::string> texts;
    for (const CSortItem& item : list) texts.push_back(item.text.str());
    return texts;
}
