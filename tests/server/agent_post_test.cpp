// What every agent post goes through before its protocol: credentials, the size bounds, the
// paths agents post to, and the health check; on both engines.
#include "server/agent_post.h"

#include <zlib.h>

#include "server/agent_auth.h"
#include "server/agent_fixture.h"
#include "server/router.h"
#include "sql/password_hash.h"

namespace {

class AgentPost : public AgentHandlerTest {
protected:
    // Protects the agents' posts with user "agent" and password "s3cret".
    void RequireAgentLogOn() {
        settings_.agentUser = "agent";
        settings_.agentPasswordHash = HashPassword("s3cret").str();
    }
    void LogOnAs(const std::string& base64) { extraHeaders_ = {{"Authorization", "Basic " + base64}}; }
};

// Each protocol's inventory, posted in every compression: the first makes the asset, the others
// find it unchanged, and each gets its protocol's answer.
TEST_P(AgentPost, InventoryOfEitherProtocolIsImportedOnceInEveryCompression) {
    const struct {
        const char* fixture;
        const char* type;
        const char* answer;
        const char* deviceId;
    } protocols[] = {
        {"inventories/workstation.xml", "application/xml",
         "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<REPLY><RESPONSE>no_account_update</RESPONSE></REPLY>\n",
         "WS-ALPHA-2011-03-02-10-44-46"},
        {"inventories/laptop.json", "application/json", "{\"status\":\"ok\",\"expiration\":24}\n",
         "LAPTOP-7-2020-06-12-14-19-54"},
    };
    ULong assets = 0;
    for (const auto& protocol : protocols) {
        const char* expected[] = {"new", "unchanged", "unchanged"};
        int i = 0;
        ++assets;
        for (const Compression kind : kEveryCompression) {
            SCOPED_TRACE(std::string(protocol.fixture) + " " + CompressionName(kind));
            const HttpResponse response = Post(ReadFixture(protocol.fixture), kind, protocol.type);
            ASSERT_EQ(response.status, 200) << response.body;
            EXPECT_EQ(Plain(response), protocol.answer);
            EXPECT_EQ(response.logOutcome, expected[i++]);
            EXPECT_EQ(response.logDeviceId, protocol.deviceId);
            EXPECT_EQ(Assets(), assets);
        }
    }
}

TEST_P(AgentPost, InflatedBodyOverTheLimitGets413AndWritesNothing) {
    settings_.maxInflatedBytes = 4096;
    const std::string inventory = ReadFixture("inventories/workstation.xml");
    ASSERT_GT(inventory.size(), settings_.maxInflatedBytes);
    for (const Compression kind : kEveryCompression) {
        SCOPED_TRACE(CompressionName(kind));
        const HttpResponse response = Post(inventory, kind);
        EXPECT_EQ(response.status, 413);
        EXPECT_EQ(response.body.find("larger than 4096 bytes"), response.body.size() - 23) << response.body;
    }
    EXPECT_EQ(Assets(), 0u);
}

TEST_P(AgentPost, DamagedCompressedBodyGets400AndWritesNothing) {
    const std::string zlib = Deflate(ReadFixture("inventories/workstation.xml"), Compression::kZlib);
    HttpRequest request;
    request.method = "POST";
    request.path = "/";
    request.headers = {{"Content-Type", "application/x-compress-zlib"}};
    request.body = zlib.substr(0, zlib.size() / 2);
    const HttpResponse response = HandleAgentPost(request, *context_);
    EXPECT_EQ(response.status, 400);
    EXPECT_EQ(response.body, "damaged body: not a complete zlib stream\n");
    EXPECT_EQ(Assets(), 0u);
}

TEST_P(AgentPost, WithoutCredentialsAgentsAreAskedForThemAndNothingIsWritten) {
    RequireAgentLogOn();
    const std::string inventory = ReadFixture("inventories/workstation.xml");
    const struct {
        const char* header;  // base64 of user:password, or not base64
        const char* body;
    } refused[] = {
        {nullptr, "authentication required\n"},
        {"YWdlbnQ6d3Jvbmc=", "wrong user or password\n"},  // agent:wrong
        {"b3RoZXI6czNjcmV0", "wrong user or password\n"},  // other:s3cret
        {"YWdlbnRzM2NyZXQ=", "wrong user or password\n"},  // agents3cret
        {"!!!notbase64", "not Basic credentials\n"},
    };
    for (const auto& c : refused) {
        SCOPED_TRACE(c.body);
        extraHeaders_.clear();
        if (c.header) LogOnAs(c.header);
        const HttpResponse response = Post(inventory, Compression::kZlib);
        EXPECT_EQ(response.status, 401);
        EXPECT_EQ(response.body, c.body);
        ASSERT_EQ(response.headers.size(), 1u);
        EXPECT_EQ(response.headers[0].first, "WWW-Authenticate");
        EXPECT_EQ(response.headers[0].second, "Basic realm=\"norvik\"");
    }
    EXPECT_EQ(Assets(), 0u);
    LogOnAs("YWdlbnQ6czNjcmV0");  // agent:s3cret
    EXPECT_EQ(Post(inventory, Compression::kZlib).status, 200);
    EXPECT_EQ(Post(inventory, Compression::kZlib).status, 200);  // the verified header is remembered
    EXPECT_EQ(Assets(), 1u);
}

TEST_P(AgentPost, AgentsPostToTheirServersUsualPaths) {
    Router router;
    RegisterServerRoutes(router);
    HttpRequest request;
    request.method = "POST";
    request.body = ReadFixture("agents/prolog.xml");
    for (const char* path : {"/", "/ocsinventory", "/front/inventory.php", "/plugins/fusioninventory/",
                             "/plugins/fusioninventory/front/communication.php", "/marketplace/glpiinventory/"}) {
        request.path = path;
        EXPECT_EQ(router.Dispatch(request, *context_).status, 200) << path;
    }
    request.path = "/elsewhere";
    EXPECT_EQ(router.Dispatch(request, *context_).status, 404);
    request.method = "PUT";
    request.path = "/ocsinventory";
    const HttpResponse wrongMethod = router.Dispatch(request, *context_);
    EXPECT_EQ(wrongMethod.status, 405);
    EXPECT_EQ(wrongMethod.headers.at(0).second, "POST");
    request.method = "GET";
    request.path = "/health";
    const HttpResponse health = router.Dispatch(request, *context_);
    EXPECT_EQ(health.status, 200);
    EXPECT_EQ(health.body, "ok\n");
}

TEST_P(AgentPost, ConsoleHandlersReplaceThePlaceholderOfTheRoot) {
    Router router;
    RegisterServerRoutes(router);
    HttpRequest request;
    request.method = "GET";
    request.path = "/";
    EXPECT_EQ(router.Dispatch(request, *context_).status, 404);
    router.Add("GET", "/", [](const HttpRequest&, WorkerContext&) { return TextResponse(200, "overview"); });
    EXPECT_EQ(router.Dispatch(request, *context_).body, "overview\n");
}

TEST(AgentBase64, DecodesOnlyBase64) {
    std::string bytes;
    EXPECT_TRUE(DecodeBase64("YWdlbnQ6czNjcmV0", bytes));
    EXPECT_EQ(bytes, "agent:s3cret");
    EXPECT_TRUE(DecodeBase64("YQ==", bytes));
    EXPECT_EQ(bytes, "a");
    EXPECT_FALSE(DecodeBase64("YQ=a", bytes));
    EXPECT_FALSE(DecodeBase64("YQ", bytes));
    EXPECT_FALSE(DecodeBase64("Y Q==", bytes));
}

NORVIK_ON_BOTH_ENGINES(AgentPost);

}  // namespace
