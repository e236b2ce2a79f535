// Splitting and converting stored address lists. Address lookups convert every range of
// every location, so the plain form of an entry (digits and dots) is converted here directly;
// anything else goes through CIPAddress, which defines the result.
#include "common/address_list.h"

#include <cctype>
#include <cstring>

namespace {

// The address of an entry made only of digits and dots, each number at most 9 digits long (so
// none can overflow), as CIPAddress would convert it: each of the first four numbers cut to
// its low 8 bits, missing numbers 0, anything after the fourth dot ignored.
// False when the entry has any other form.
bool ConvertPlainEntry(const char* begin, const char* end, ULong* number) {
    ULong octets[4] = {0, 0, 0, 0};
    int part = 0;
    int digits = 0;
    for (const char* p = begin; p < end; ++p) {
        if (*p == '.') {
            ++part;
            digits = 0;
        } else if (*p >= '0' && *p <= '9') {
            if (++digits > 9) return false;
            if (part < 4) octets[part] = octets[part] * 10 + static_cast<ULong>(*p - '0');
        } else {
            return false;
        }
    }
    *number = ((octets[0] & 0xFF) << 24) | ((octets[1] & 0xFF) << 16) | ((octets[2] & 0xFF) << 8) | (octets[3] & 0xFF);
    return true;
}

bool IsBlank(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

}  // namespace

ULong AppendAddressList(const CString& text, CDynaList<CIPAddress>& list) {
    const char* p = text.c_str();
    const char* const end = p + text.GetLength();
    ULong added = 0;
    while (p < end) {
        const char* stop = static_cast<const char*>(std::memchr(p, ';', static_cast<std::size_t>(end - p)));
        const char* entryEnd = stop ? stop : end;
        // The last entry loses its trailing white space, as ExtractToken trims it.
        if (!stop) {
            while (entryEnd > p && IsBlank(entryEnd[-1])) --entryEnd;
        }
        ULong number = 0;
        if (ConvertPlainEntry(p, entryEnd, &number)) {
            list.Add(CIPAddress(number));
        } else {
            list.Add(CIPAddress(CString(p, static_cast<int>(entryEnd - p))));
        }
        ++added;
        p = stop ? stop + 1 : end;
    }
    return added;
}
