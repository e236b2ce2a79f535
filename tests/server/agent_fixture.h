// The fixture of the agent handler tests: a worker context on a fresh database of each engine,
// the requests agents send (from the recorded fixtures) in each compression, and the reply
// read back as the agent reads it.
#pragma once

#include <memory>
#include <string>

#include "import/import_transactions.h"
#include "import/inventory_import.h"
#include "server/agent_post.h"
#include "server/compression.h"
#include "server/server_settings.h"
#include "server/worker_context.h"
#include "support/engine_test.h"
#include "support/slurp.h"

inline std::string ReadFixture(const std::string& relative) {
    return Slurp(std::string(NORVIK_TEST_DATA_DIR) + "/" + relative);
}

// The Content-Type an agent sends with a body of `kind`.
inline std::string ContentTypeOf(Compression kind, const char* plain) {
    switch (kind) {
        case Compression::kZlib: return "application/x-compress-zlib";
        case Compression::kGzip: return "application/x-compress-gzip";
        case Compression::kPlain: break;
    }
    return plain;
}

inline const char* CompressionName(Compression kind) {
    return kind == Compression::kZlib ? "zlib" : kind == Compression::kGzip ? "gzip" : "plain";
}

constexpr Compression kEveryCompression[] = {Compression::kPlain, Compression::kZlib, Compression::kGzip};

class AgentHandlerTest : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        transactions_ = std::make_unique<SqlImportTransactions>(*db_);
        importer_ = std::make_unique<CInventoryImporter>(*db_, *transactions_);
        context_ = std::make_unique<WorkerContext>(WorkerContext{*db_, *importer_, settings_, nullptr, nullptr, {}});
    }
    void TearDown() override {
        context_.reset();
        importer_.reset();
        transactions_.reset();
        EngineTest::TearDown();
    }

    // `text` posted as an agent posts it, compressed as `kind`.
    HttpResponse Post(const std::string& text, Compression kind, const char* plainType = "application/xml",
                      const std::string& path = "/") {
        HttpRequest request;
        request.method = "POST";
        request.path = path;
        request.client = "127.0.0.1";
        request.headers = {{"Content-Type", ContentTypeOf(kind, plainType)}, {"User-Agent", "test-agent/1.0"}};
        for (const auto& header : extraHeaders_) request.headers.push_back(header);
        request.body = Deflate(text, kind);
        return HandleAgentPost(request, *context_);
    }
    // The reply's body as the agent reads it: inflated when it came compressed.
    static std::string Plain(const HttpResponse& response) {
        const Compression kind = CompressionOf(response.contentType, response.body);
        std::string text, error;
        EXPECT_EQ(Inflate(response.body, kind, 1 << 20, text, error), InflateStatus::kOk) << error;
        return text;
    }
    ULong Assets() { return db_->CountAssets(0, 1, 0); }

    ServerSettings settings_;
    std::vector<std::pair<std::string, std::string>> extraHeaders_;
    std::unique_ptr<SqlImportTransactions> transactions_;
    std::unique_ptr<CInventoryImporter> importer_;
    std::unique_ptr<WorkerContext> context_;
};
