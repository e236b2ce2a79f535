// CIPAddress conversions between dotted text, octets and numbers.
#include "common/ipaddress.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "common/token.h"

CIPAddress::CIPAddress(const CString& text) {
    CString rest = text;
    for (std::uint8_t& octet : m_nOctet) {
        const CString token = ExtractToken(rest, '.', true, true, true);
        // atoi with its overflow defined: out-of-range parts saturate to the int range.
        const long value = std::clamp<long>(std::strtol(token.c_str(), nullptr, 10), INT_MIN, INT_MAX);
        octet = static_cast<std::uint8_t>(static_cast<int>(value) & 0xFF);
    }
}

CIPAddress::CIPAddress(ULong number) {
    m_nOctet[0] = static_cast<std::uint8_t>(number >> 24);
    m_nOctet[1] = static_cast<std::uint8_t>(number >> 16);
    m_nOctet[2] = static_cast<std::uint8_t>(number >> 8);
    m_nOctet[3] = static_cast<std::uint8_t>(number);
}

ULong CIPAddress::GetAsNumber() const {
    return (ULong{m_nOctet[0]} << 24) | (ULong{m_nOctet[1]} << 16) | (ULong{m_nOctet[2]} << 8) | ULong{m_nOctet[3]};
}

CString CIPAddress::GetAsText() const {
    if (GetAsNumber() == 0) return CString();
    return CString::Formatted("%d.%d.%d.%d", m_nOctet[0], m_nOctet[1], m_nOctet[2], m_nOctet[3]);
}
