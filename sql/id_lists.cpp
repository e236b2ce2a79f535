#include "sql/id_lists.h"

std::vector<std::string> IdLists(const std::vector<ULong>& ids, std::size_t perList) {
    std::vector<std::string> lists;
    for (std::size_t first = 0; first < ids.size(); first += perList) {
        std::string& list = lists.emplace_back();
        for (std::size_t i = first; i < ids.size() && i < first + perList; ++i) {
            if (i != first) list += ',';
            // As signed 32-bit numbers, which is how the engines keep them.
            list += std::to_string(static_cast<int>(ids[i]));
        }
    }
    return lists;
}

std::vector<std::string> IdLists(const CDynaList<ULong>& ids, std::size_t perList) {
    return IdLists(std::vector<ULong>(ids.begin(), ids.end()), perList);
}
