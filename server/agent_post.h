// An agent's POST, whatever its protocol: credentials checked, the body inflated within the
// limit, then answered by the XML or the GLPI JSON protocol (told from its first byte), the
// reply compressed as the request was.
#pragma once

#include <string>
#include <string_view>

#include "server/http_message.h"
#include "server/worker_context.h"

HttpResponse HandleAgentPost(const HttpRequest& request, WorkerContext& context);

// How an inventory posted by an agent ended, for the protocol to answer.
struct PostedImport {
    bool imported = false;
    HttpResponse refusal;  // when not imported: 400 damaged, 503 busy or unreachable, 500 failed
    std::string outcome;   // when imported: "new", "changed" or "unchanged"
};

// Imports `text` (named `name` in messages) through the worker's importer; answers only after
// the transaction committed or rolled back.
PostedImport ImportPosted(const std::string& name, std::string_view text, WorkerContext& context);
