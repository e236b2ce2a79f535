// GET /health: 200 "ok" while the worker's database answers a statement, 503 (with Retry-After)
// while it does not; for monitors and load balancers.
#pragma once

#include "server/http_message.h"
#include "server/worker_context.h"

HttpResponse HandleHealth(const HttpRequest& request, WorkerContext& context);

// 503 with Retry-After and one line of `reason`: the agent sends again later.
HttpResponse Unavailable(const WorkerContext& context, const std::string& reason);
