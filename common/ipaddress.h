// CIPAddress: an IPv4 address as passed through the interface, its dotted text and its number.
#pragma once

#include <cstdint>

#include "platform/cstring.h"
#include "platform/types.h"

// Four octets, first octet (leftmost in dotted text) first. A plain value type; the virtual
// destructor lets classes derive from it. Ranges compare GetAsNumber() values as unsigned.
class NORVIK_API CIPAddress {
public:
    // 0.0.0.0.
    CIPAddress() = default;
    // From dotted text: four tokens split at '.', each converted like atoi and kept to its low
    // 8 bits, so "300" gives 44, "-1" gives 255 and a missing part gives 0. Quotes around a part
    // are dropped and a '.' inside quotes does not split.
    explicit CIPAddress(const CString& text);
    // From a number: the most significant byte is the first octet.
    explicit CIPAddress(ULong number);
    virtual ~CIPAddress() = default;
    CIPAddress(const CIPAddress&) = default;
    CIPAddress& operator=(const CIPAddress&) = default;

    // first × 2^24 + second × 2^16 + third × 2^8 + fourth.
    ULong GetAsNumber() const;
    // "%d.%d.%d.%d"; the empty text when all four octets are 0.
    CString GetAsText() const;
    // Octet 0 to 3, first octet first.
    std::uint8_t GetOctet(int position) const { return m_nOctet[position & 3]; }

private:
    std::uint8_t m_nOctet[4] = {0, 0, 0, 0};
};
