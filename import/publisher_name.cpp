// Publisher spelling through the shared publisher table.
#include "import/publisher_name.h"

#include <cctype>
#include <string_view>

#include "common/publishers.h"

std::string NormalisedPublisher(const std::string& publisher) {
    std::string upper = publisher;
    for (char& c : upper)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    const PublisherName* table = PublisherTable();
    for (int i = 0; i < kPublisherTableSize && table[i].key[0] != '\0'; ++i) {
        const std::string_view key = table[i].key;
        if (upper.compare(0, key.size(), key) != 0) continue;
        const unsigned char next = upper.size() > key.size() ? static_cast<unsigned char>(upper[key.size()]) : ' ';
        if (!(std::isalnum(next) || next >= 0x80)) return table[i].name;
    }
    return publisher;
}
