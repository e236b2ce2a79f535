// The GLPI JSON agent protocol. The agent posts one JSON object naming its action:
//
//   {"action": "contact", "deviceid": ID, "name": AGENT, "installed-tasks": [...], ...}
//       -> {"status": "ok", "expiration": HOURS, "tasks": {"inventory": {"server": "glpi"}}}
//   {"action": "inventory", "deviceid": ID, "content": {...}, "partial": false, ...}
//       -> imported, then {"status": "ok", "expiration": HOURS}
//
// HOURS is the site option AgentPrologFreq, as for the XML protocol. A document that is not
// such an object, or another action, gets 400 with {"status": "error", "message": REASON}.
#pragma once

#include <string_view>

#include "server/http_message.h"
#include "server/worker_context.h"

// The reply to the plain JSON `json` (not yet compressed).
HttpResponse AnswerGlpiMessage(std::string_view json, WorkerContext& context);
