// Checking, inflating and dispatching an agent's post; the import shared by both protocols.
#include "server/agent_post.h"

#include "server/agent_auth.h"
#include "server/agent_glpi.h"
#include "server/agent_xml.h"
#include "server/compression.h"
#include "server/console/console.h"
#include "server/health.h"
#include "server/server_settings.h"

namespace {

HttpResponse Refused(int status, const std::string& reason) {
    HttpResponse response = TextResponse(status, reason);
    response.logOutcome = "refused: " + reason;
    return response;
}

// The first byte of `text` that is not a blank or part of a UTF-8 byte-order mark.
char FirstSignificant(std::string_view text) {
    std::size_t i = 0;
    if (text.substr(0, 3) == "\xEF\xBB\xBF") i = 3;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t' || text[i] == '\r' || text[i] == '\n')) ++i;
    return i < text.size() ? text[i] : '\0';
}

}  // namespace

PostedImport ImportPosted(const std::string& name, std::string_view text, WorkerContext& context) {
    PostedImport result;
    if (!context.DatabaseReady()) {
        result.refusal = Unavailable(context, "the audit database does not answer");
        return result;
    }
    std::unique_lock<std::mutex> turn;
    if (context.writerGate) turn = std::unique_lock<std::mutex>(*context.writerGate);
    const InventoryImportResult imported = context.importer.Import(name, text);
    if (turn.owns_lock()) turn.unlock();
    switch (imported.status) {
        case InventoryImportStatus::kImported:
            ConsoleStateOr(context.console).reports.Changed();
            result.imported = true;
            result.outcome = ImportStatusWord(imported.outcome);
            return result;
        case InventoryImportStatus::kDamaged:
            result.refusal = Refused(400, "damaged inventory: " + imported.error);
            return result;
        case InventoryImportStatus::kBusy:
            result.refusal = Unavailable(context, "the audit database is busy");
            return result;
        case InventoryImportStatus::kFailed:
            if (imported.fullInventoryWanted) {
                result.refusal = Refused(400, imported.error);
                return result;
            }
            if (context.connection && !context.connection->Answers()) {
                result.refusal = Unavailable(context, "the audit database does not answer");
                return result;
            }
            result.refusal = Refused(500, "the inventory could not be written: " + imported.error);
            result.refusal.logOutcome = "failed: " + imported.error;
            return result;
        case InventoryImportStatus::kConnectionLost: break;
    }
    // The link to the database is gone: the worker reconnects, the agent sends again later.
    if (context.connection) context.connection->Lost();
    result.refusal =
        Unavailable(context, imported.error.empty() ? "the audit database does not answer" : imported.error);
    return result;
}

HttpResponse HandleAgentPost(const HttpRequest& request, WorkerContext& context) {
    if (auto refusal = CheckAgentCredentials(request, context)) {
        refusal->logAgent = request.Header("User-Agent");
        return *refusal;
    }
    const Compression compression = CompressionOf(request.Header("Content-Type"), request.body);
    std::string text, error;
    HttpResponse response;
    switch (Inflate(request.body, compression, context.settings.maxInflatedBytes, text, error)) {
        case InflateStatus::kTooLarge: response = Refused(413, error); break;
        case InflateStatus::kDamaged: response = Refused(400, "damaged body: " + error); break;
        case InflateStatus::kOk:
            switch (FirstSignificant(text)) {
                case '<': response = AnswerXmlMessage(text, context); break;
                case '{': response = AnswerGlpiMessage(text, context); break;
                default: response = Refused(400, "not an agent message: neither XML nor JSON"); break;
            }
            break;
    }
    response.logAgent = request.Header("User-Agent");
    if (response.status == 200 && compression != Compression::kPlain) {
        response.body = Deflate(response.body, compression);
        response.contentType = ReplyContentType(compression, response.contentType);
    }
    return response;
}
