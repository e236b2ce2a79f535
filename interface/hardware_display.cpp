// The display of hardware values, shared by the back ends and the pages that list values.
#include "interface/hardware_display.h"

#include <cstdint>
#include <cstdlib>

#include "common/formatting.h"
#include "common/ipaddress.h"
#include "interface/norvik.h"

ULong HwTextAsInteger(const char* text) {
    if (!text) return 0;
    // The low 32 bits of the reading: addresses stored as unsigned or as signed decimals, and
    // sizes past 2 GB, all come back as the number that was meant.
    const long long value = std::strtoll(text, nullptr, 10);
    return static_cast<ULong>(static_cast<unsigned long long>(value));
}

bool HwIsAddressItem(ULong flags, const CString& key) {
    static const char kSuffix[] = "IP Address";
    const int suffixLength = static_cast<int>(sizeof kSuffix - 1);
    // A bit test, not a comparison with the IPv4 display type: any of its bits qualifies.
    return (flags & CNorvik::kHwShowIPv4) != 0 && key.GetLength() >= suffixLength && key.Right(suffixLength) == kSuffix;
}

CString HwShownValue(ULong flags, const CString& key, const CString& value) {
    return HwIsAddressItem(flags, key) ? CIPAddress(HwTextAsInteger(value)).GetAsText() : value;
}

CString HwDisplayValue(ULong flags, const CString& stored) {
    const ULong number = HwTextAsInteger(stored);
    switch (flags & CNorvik::kHwDisplayMask) {
        case CNorvik::kHwShowBytes: return FormatBytes(number);
        case CNorvik::kHwShowMegabytes: return FormatMegabytes(static_cast<std::int32_t>(number));
        case CNorvik::kHwShowDate: return FormatDate(CTime(static_cast<std::int32_t>(number)), '/');
        case CNorvik::kHwShowIPv4: return CIPAddress(number).GetAsText();
        case CNorvik::kHwShowMHz: return FormatMHz(number);
        default: return stored;
    }
}
