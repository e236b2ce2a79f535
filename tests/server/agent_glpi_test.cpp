// The GLPI JSON agent protocol through the agents' handler, in every compression, on both engines.
#include "server/agent_glpi.h"

#include <rapidjson/document.h>

#include "server/agent_fixture.h"

namespace {

class AgentGlpi : public AgentHandlerTest {
protected:
    static rapidjson::Document Json(const std::string& text) {
        rapidjson::Document document;
        document.Parse(text.c_str());
        EXPECT_FALSE(document.HasParseError()) << text;
        return document;
    }
    HttpResponse PostJson(const std::string& text, Compression kind) { return Post(text, kind, "application/json"); }
};

TEST_P(AgentGlpi, ContactIsAnsweredWithExpirationAndTheInventoryTask) {
    for (const Compression kind : kEveryCompression) {
        SCOPED_TRACE(CompressionName(kind));
        const HttpResponse response = PostJson(ReadFixture("agents/glpi-contact.json"), kind);
        EXPECT_EQ(response.status, 200);
        EXPECT_EQ(CompressionOf(response.contentType, response.body), kind);
        if (kind == Compression::kPlain) {
            EXPECT_EQ(response.contentType, "application/json");
        }
        const rapidjson::Document reply = Json(Plain(response));
        EXPECT_STREQ(reply["status"].GetString(), "ok");
        EXPECT_EQ(reply["expiration"].GetInt(), 24);
        EXPECT_STREQ(reply["tasks"]["inventory"]["server"].GetString(), "glpi");
        EXPECT_EQ(response.logOutcome, "contact");
        EXPECT_EQ(response.logDeviceId, "laptop-2026-11-25-10-00-00");
    }
    EXPECT_EQ(Assets(), 0u);
}

TEST_P(AgentGlpi, DamagedOrUnknownMessagesGet400AndWriteNothing) {
    const struct {
        std::string body;
        const char* message;
    } cases[] = {
        {ReadFixture("inventories/truncated.json"), "not an agent message: damaged JSON"},
        {"{\"action\": \"register\", \"deviceid\": \"x\"}", "unknown action: register"},
        {"{\"deviceid\": \"x\"}", "not an agent message: no action"},
        {"{\"action\": \"inventory\", \"deviceid\": \"x\"}", "damaged inventory: "},
    };
    for (const auto& c : cases) {
        for (const Compression kind : kEveryCompression) {
            SCOPED_TRACE(std::string(c.message) + " " + CompressionName(kind));
            const HttpResponse response = PostJson(c.body, kind);
            EXPECT_EQ(response.status, 400);
            EXPECT_EQ(response.body.find('\n'), response.body.size() - 1) << "one line";
            const rapidjson::Document reply = Json(response.body);
            EXPECT_STREQ(reply["status"].GetString(), "error");
            EXPECT_EQ(std::string(reply["message"].GetString()).rfind(c.message, 0), 0u) << response.body;
        }
    }
    EXPECT_EQ(Assets(), 0u);
}

NORVIK_ON_BOTH_ENGINES(AgentGlpi);

}  // namespace
