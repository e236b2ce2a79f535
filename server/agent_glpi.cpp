// Answering the GLPI JSON agent protocol.
#include "server/agent_glpi.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "server/agent_post.h"
#include "server/server_settings.h"

namespace {

constexpr const char* kJsonType = "application/json";

using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

HttpResponse JsonReply(int status, const rapidjson::StringBuffer& buffer) {
    HttpResponse response;
    response.status = status;
    response.contentType = kJsonType;
    response.body = std::string(buffer.GetString(), buffer.GetSize()) + "\n";
    return response;
}

HttpResponse Error(int status, const std::string& message) {
    rapidjson::StringBuffer buffer;
    JsonWriter writer(buffer);
    writer.StartObject();
    writer.Key("status");
    writer.String("error");
    writer.Key("message");
    writer.String(message.c_str(), static_cast<rapidjson::SizeType>(message.size()));
    writer.EndObject();
    HttpResponse response = JsonReply(status, buffer);
    response.logOutcome = "refused: " + message;
    return response;
}

HttpResponse Ok(const WorkerContext& context, bool withTasks) {
    rapidjson::StringBuffer buffer;
    JsonWriter writer(buffer);
    writer.StartObject();
    writer.Key("status");
    writer.String("ok");
    writer.Key("expiration");
    writer.Int(context.settings.prologFreqHours);
    if (withTasks) {
        writer.Key("tasks");
        writer.StartObject();
        writer.Key("inventory");
        writer.StartObject();
        writer.Key("server");
        writer.String("glpi");
        writer.EndObject();
        writer.EndObject();
    }
    writer.EndObject();
    return JsonReply(200, buffer);
}

std::string StringMember(const rapidjson::Value& object, const char* name) {
    const auto member = object.FindMember(name);
    if (member == object.MemberEnd() || !member->value.IsString()) return {};
    return std::string(member->value.GetString(), member->value.GetStringLength());
}

}  // namespace

HttpResponse AnswerGlpiMessage(std::string_view json, WorkerContext& context) {
    rapidjson::Document document;
    document.Parse(json.data(), json.size());
    if (document.HasParseError() || !document.IsObject()) return Error(400, "not an agent message: damaged JSON");
    const std::string action = StringMember(document, "action");
    const std::string deviceId = StringMember(document, "deviceid").substr(0, 200);
    HttpResponse response;
    if (action == "contact") {
        response = Ok(context, true);
        response.logOutcome = "contact";
    } else if (action == "inventory") {
        PostedImport posted = ImportPosted(deviceId.empty() ? "posted inventory" : deviceId, json, context);
        if (posted.imported) {
            response = Ok(context, false);
            response.logOutcome = posted.outcome;
        } else if (posted.refusal.status == 503) {
            response = posted.refusal;  // keeps Retry-After; the agent retries on any failure
        } else {
            response = Error(posted.refusal.status, posted.refusal.body.substr(0, posted.refusal.body.find('\n')));
            response.logOutcome = posted.refusal.logOutcome;
        }
    } else {
        response =
            Error(400, action.empty() ? "not an agent message: no action" : "unknown action: " + action.substr(0, 40));
    }
    response.logDeviceId = deviceId;
    return response;
}
