// CAuditDBSys: the Knowledge Base object. Until the table engine lands it is an unopened
// object whose reference the Audit Database interface holds; nothing calls into it yet.
#pragma once

#include "platform/types.h"

class NORVIK_API CAuditDBSys {
public:
    CAuditDBSys() = default;
    virtual ~CAuditDBSys() = default;
    // True once a Knowledge Base file has been opened.
    bool IsOpen() const { return m_bOpen; }

private:
    bool m_bOpen = false;
};
