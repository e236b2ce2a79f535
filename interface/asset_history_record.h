// CAssetHistoryRecord: one HISTORY row as handed out for export, with the asset given by its
// name instead of its _ID. A plain value: copies are independent, nothing is shared.
#pragma once

#include "platform/cstring.h"
#include "platform/ctime.h"
#include "platform/types.h"

class NORVIK_API CAssetHistoryRecord {
public:
    CAssetHistoryRecord() = default;
    // Null texts are taken as empty.
    CAssetHistoryRecord(const char* asset, CTime date, int code, const char* key, const char* value1,
                        const char* value2, const char* user)
        : m_strAsset(asset),
          m_date(date),
          m_nCode(code),
          m_strKey(key),
          m_strValue1(value1),
          m_strValue2(value2),
          m_strUser(user) {}
    CAssetHistoryRecord(const CAssetHistoryRecord&) = default;
    CAssetHistoryRecord& operator=(const CAssetHistoryRecord&) = default;
    virtual ~CAssetHistoryRecord() = default;

    CString m_strAsset;   // the asset's name (empty when the asset no longer exists)
    CTime m_date;         // when the change was recorded
    int m_nCode = 0;      // history code: operation << 16 | item kind
    CString m_strKey;     // the item's name or path, levels joined by "|"
    CString m_strValue1;  // old value, or the source of a move
    CString m_strValue2;  // new value, or the destination of a move
    CString m_strUser;    // who made the change
};
