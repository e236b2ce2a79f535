// The health check.
#include "server/health.h"

#include "server/server_settings.h"

HttpResponse Unavailable(const WorkerContext& context, const std::string& reason) {
    HttpResponse response = TextResponse(503, reason);
    response.SetHeader("Retry-After", std::to_string(context.settings.retryAfterSeconds));
    response.logOutcome = "unavailable: " + reason;
    return response;
}

HttpResponse HandleHealth(const HttpRequest&, WorkerContext& context) {
    if (!context.DatabaseReady() || (context.connection && !context.connection->Answers()))
        return Unavailable(context, "the audit database does not answer");
    HttpResponse response = TextResponse(200, "ok");
    response.SetHeader("Cache-Control", "no-store");
    response.logOutcome = "ok";
    return response;
}
