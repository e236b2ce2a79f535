// Agents' HTTP Basic authentication: when the server has an agent user, every agent post must
// carry that user and the password whose Argon2id hash the site keeps (option AgentPassword).
// Agents send credentials only after a 401 naming a Basic realm, so the refusal names one.
#pragma once

#include <optional>

#include "server/http_message.h"
#include "server/worker_context.h"

// The realm agents are asked to log on to.
constexpr const char* kAgentRealm = "norvik";

// Nothing when the request may go on (no agent user set, or the right credentials); else the
// 401 to answer, with WWW-Authenticate.
std::optional<HttpResponse> CheckAgentCredentials(const HttpRequest& request, WorkerContext& context);

// The bytes of the base64 `text`; false when it is not base64.
bool DecodeBase64(const std::string& text, std::string& bytes);
