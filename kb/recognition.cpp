// Application recognition: matching an audit's files against the known files of SYSFILE through
// the four index record sets that Reset opens, and marking known files that other applications'
// files shadow.
//
// SYSFILE, by position: 0 ID, 1 name (case-sensitive), 2 application (SWAPP ID), 3 lowest size
// (0: any), 4 highest size (0: exactly the lowest), 5 CRC (0: not known), 6 date (two 16-bit
// halves, each 0: any), 7 FLAGS (2: key file; bit 0x01: common, set by CheckCommonFile).
#include <algorithm>

#include "kb/auditdbsys.h"
#include "platform/ui_hooks.h"

namespace {

constexpr std::uint16_t kName = 1;
constexpr std::uint16_t kApp = 2;
constexpr std::uint16_t kSizeLow = 3;
constexpr std::uint16_t kSizeHigh = 4;
constexpr std::uint16_t kCrc = 5;
constexpr std::uint16_t kDate = 6;
constexpr std::uint16_t kFlags = 7;
constexpr ULong kCommonFlag = 0x01;

bool RowMatches(const CRecSet& rs, ULong size, ULong date) {
    const ULong low = rs.GetValue(kSizeLow);
    const ULong high = rs.GetValue(kSizeHigh);
    if (high == 0) {
        if (low != 0 && low != size) return false;
    } else if (low > size || size > high) {
        return false;
    }
    const ULong rowDate = rs.GetValue(kDate);
    const ULong rowHigh = rowDate >> 16;
    const ULong rowLow = rowDate & 0xFFFF;
    return (rowHigh == 0 || rowHigh == date >> 16) && (rowLow == 0 || rowLow == (date & 0xFFFF));
}

bool Contains(const CDynaList<ULong>& list, ULong value) {
    return std::find(list.begin(), list.end(), value) != list.end();
}

// Walks the entries of `rs` whose CRC is `crc` (when crc > 0), then those of `byName` named
// `name`, and returns the application of the first row that matches and that `accept` takes.
template <typename Accept>
ULong Walk(CIndexRecSet* byCrc, CIndexRecSet* byName, const char* name, ULong size, ULong crc, ULong date,
           Accept accept) {
    if (byCrc && byCrc->IsOpen() && crc != 0) {
        const int position = byCrc->SeekValue(crc, false);
        if (position >= 0) {
            for (byCrc->SetPosition(position); !byCrc->IsEOF() && byCrc->GetValue(kCrc) == crc; byCrc->MoveNext()) {
                if (RowMatches(*byCrc, size, date) && accept(byCrc->GetValue(kApp))) return byCrc->GetValue(kApp);
            }
        }
    }
    if (byName && byName->IsOpen() && name) {
        const int position = byName->SeekText(name, false);
        if (position >= 0) {
            for (byName->SetPosition(position); !byName->IsEOF() && byName->GetText(kName) == name;
                 byName->MoveNext()) {
                if (RowMatches(*byName, size, date) && accept(byName->GetValue(kApp))) return byName->GetValue(kApp);
            }
        }
    }
    return 0;
}

}  // namespace

ULong CAuditDBSys::KeyRecognise(const char* name, ULong size, ULong crc, ULong date) {
    return Walk(m_pKeyByCrc.get(), m_pKeyByName.get(), name, size, crc, date, [](ULong) { return true; });
}

ULong CAuditDBSys::NonKeyRecognise(const char* name, ULong size, ULong crc, ULong date, CDynaList<ULong>& found) {
    return Walk(m_pOtherByCrc.get(), m_pOtherByName.get(), name, size, crc, date,
                [&found](ULong app) { return Contains(found, app); });
}

int CAuditDBSys::RecogniseAsset(CAudBase& audit, unsigned long* results) {
    if (!results || audit.FindTable("SWFILE") < 0) return 1;
    CRecSet rs(&audit, "select * from SWFILE");
    CDynaList<ULong> found;
    ULong slot = 0;
    for (rs.MoveFirst(); !rs.IsEOF(); rs.MoveNext(), ++slot) {
        platform::PumpMessages();
        const ULong app = KeyRecognise(rs.GetText(CAudBase::kName), rs.GetValue(CAudBase::kSize),
                                       rs.GetValue(CAudBase::kCrc), rs.GetValue(CAudBase::kDate));
        if (app == 0) continue;
        results[slot] = app << 16;
        if (!Contains(found, app)) found.Add(app);
    }
    slot = 0;
    for (rs.MoveFirst(); !rs.IsEOF(); rs.MoveNext(), ++slot) {
        platform::PumpMessages();
        if (results[slot] != 0) continue;
        const ULong app = NonKeyRecognise(rs.GetText(CAudBase::kName), rs.GetValue(CAudBase::kSize),
                                          rs.GetValue(CAudBase::kCrc), rs.GetValue(CAudBase::kDate), found);
        if (app != 0) results[slot] = app << 16;
    }
    rs.Close();
    return 1;
}

int CAuditDBSys::IsSizeCommon(ULong lowA, ULong highA, ULong lowB, ULong highB) {
    if (lowA == 0 || lowB == 0) return 1;
    if (highA == 0) highA = lowA;
    if (highB == 0) highB = lowB;
    return std::min(highA, highB) >= std::max(lowA, lowB) ? 1 : 0;
}

int CAuditDBSys::IsDateCommon(ULong dateA, ULong dateB) {
    if (dateA > 0xFFFF && dateB >= 0x10000 && (dateA >> 16) != (dateB >> 16)) return 0;
    const ULong lowA = dateA & 0xFFFF;
    const ULong lowB = dateB & 0xFFFF;
    return (lowA == 0 || lowB == 0 || lowA == lowB) ? 1 : 0;
}

int CAuditDBSys::CheckCommonFile(ULong id) {
    if (FindTable("SYSFILE") < 0) return 0;
    CRecSet row(this, "select * from SYSFILE");
    if (!row.FindID(id)) return 0;
    const CString name = row.GetText(kName);
    const ULong crc = row.GetValue(kCrc);
    const ULong low = row.GetValue(kSizeLow);
    const ULong high = row.GetValue(kSizeHigh) != 0 ? row.GetValue(kSizeHigh) : low;
    const ULong date = row.GetValue(kDate);

    int count = 0;
    auto mark = [&](CIndexRecSet& rs) {
        if (rs.GetID() == id) return;
        if (IsSizeCommon(low, high, rs.GetValue(kSizeLow), rs.GetValue(kSizeHigh)) &&
            IsDateCommon(date, rs.GetValue(kDate))) {
            rs.SetValue(kFlags, rs.GetValue(kFlags) | kCommonFlag);
            ++count;
        }
    };
    for (CIndexRecSet* rs : {m_pKeyByCrc.get(), m_pOtherByCrc.get()}) {
        if (!rs || !rs->IsOpen()) continue;
        const int position = rs->SeekValue(crc, false);
        if (position < 0) continue;
        for (rs->SetPosition(position); !rs->IsEOF() && rs->GetValue(kCrc) == crc; rs->MoveNext()) mark(*rs);
    }
    for (CIndexRecSet* rs : {m_pKeyByName.get(), m_pOtherByName.get()}) {
        if (!rs || !rs->IsOpen()) continue;
        const int position = rs->SeekText(name, false);
        if (position < 0) continue;
        for (rs->SetPosition(position); !rs->IsEOF() && rs->GetText(kName) == name; rs->MoveNext()) mark(*rs);
    }
    if (count != 0 && row.FindID(id)) row.SetValue(kFlags, row.GetValue(kFlags) | kCommonFlag);
    return count;
}
