// The XML agent protocol through the agents' handler, in every compression, on both engines.
#include "server/agent_xml.h"

#include "server/agent_fixture.h"

namespace {

class AgentXml : public AgentHandlerTest {};

TEST_P(AgentXml, PrologIsAnsweredSendWithTheFrequencyInEveryCompression) {
    settings_.prologFreqHours = 12;
    for (const Compression kind : kEveryCompression) {
        SCOPED_TRACE(CompressionName(kind));
        const HttpResponse response = Post(ReadFixture("agents/prolog.xml"), kind);
        EXPECT_EQ(response.status, 200);
        EXPECT_EQ(CompressionOf(response.contentType, response.body), kind);
        EXPECT_EQ(Plain(response),
                  "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n"
                  "<REPLY><RESPONSE>SEND</RESPONSE><PROLOG_FREQ>12</PROLOG_FREQ></REPLY>\n");
        EXPECT_EQ(response.logDeviceId, "workstation-2026-11-25-10-00-00");
        EXPECT_EQ(response.logOutcome, "prolog");
    }
    EXPECT_EQ(Assets(), 0u);
}

TEST_P(AgentXml, DamagedOrUnknownRequestsGet400AndWriteNothing) {
    const std::string truncated = ReadFixture("inventories/truncated.xml");
    const struct {
        std::string body;
        const char* reason;  // the start of the one-line reason
    } cases[] = {
        {ReadFixture("agents/unknown-query.xml"), "unknown QUERY: SNMPQUERY"},
        {"<?xml version=\"1.0\"?><REPLY><RESPONSE>SEND</RESPONSE></REPLY>",
         "not an agent request: the document is not a <REQUEST>"},
        {"<REQUEST><DEVICEID>x</DEVICEID></REQUEST>", "not an agent request: no QUERY"},
        {truncated, "not an agent request: no QUERY"},  // cut before its QUERY
        {"<REQUEST><QUERY>INVENTORY</QUERY><CONTENT><HARDWARE>", "damaged inventory: "},
        {"plain words", "not an agent message: neither XML nor JSON"},
    };
    for (const auto& c : cases) {
        for (const Compression kind : kEveryCompression) {
            SCOPED_TRACE(std::string(c.reason) + " " + CompressionName(kind));
            const HttpResponse response = Post(c.body, kind);
            EXPECT_EQ(response.status, 400);
            EXPECT_EQ(response.body.rfind(c.reason, 0), 0u) << response.body;
            EXPECT_EQ(response.body.find('\n'), response.body.size() - 1) << "one line";
        }
    }
    EXPECT_EQ(Assets(), 0u);
}

TEST(AgentXmlText, ElementTextIsTrimmedAndEmptyWhenMissing) {
    EXPECT_EQ(XmlElementText("<A><QUERY>\n  PROLOG \n</QUERY></A>", "QUERY"), "PROLOG");
    EXPECT_EQ(XmlElementText("<A><QUERY>PROLOG</A>", "QUERY"), "");
    EXPECT_EQ(XmlElementText("<A/>", "QUERY"), "");
}

NORVIK_ON_BOTH_ENGINES(AgentXml);

}  // namespace
