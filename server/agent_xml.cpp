// Answering the XML agent protocol.
#include "server/agent_xml.h"

#include "server/agent_post.h"
#include "server/server_settings.h"

namespace {

constexpr const char* kXmlType = "application/xml";
constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n";

HttpResponse XmlReply(const std::string& inner) {
    HttpResponse response;
    response.contentType = kXmlType;
    response.body = std::string(kDeclaration) + "<REPLY>" + inner + "</REPLY>\n";
    return response;
}

HttpResponse Refused(const std::string& reason) {
    HttpResponse response = TextResponse(400, reason);
    response.logOutcome = "refused: " + reason;
    return response;
}

// Where the root element's name starts, after a declaration, comments and blanks; npos if none.
std::size_t RootElement(std::string_view xml) {
    std::size_t at = 0;
    for (;;) {
        at = xml.find('<', at);
        if (at == std::string_view::npos) return at;
        if (xml.compare(at, 2, "<?") == 0) {
            at = xml.find("?>", at);
        } else if (xml.compare(at, 4, "<!--") == 0) {
            at = xml.find("-->", at);
        } else {
            return at + 1;
        }
        if (at == std::string_view::npos) return at;
    }
}

}  // namespace

std::string XmlElementText(std::string_view xml, const std::string& name) {
    const std::string open = "<" + name + ">", close = "</" + name + ">";
    const std::size_t start = xml.find(open);
    if (start == std::string_view::npos) return {};
    const std::size_t end = xml.find(close, start + open.size());
    if (end == std::string_view::npos) return {};
    std::string text(xml.substr(start + open.size(), end - start - open.size()));
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!text.empty() && blank(text.back())) text.pop_back();
    std::size_t first = 0;
    while (first < text.size() && blank(text[first])) ++first;
    return text.substr(first);
}

HttpResponse AnswerXmlMessage(std::string_view xml, WorkerContext& context) {
    const std::size_t root = RootElement(xml);
    if (root == std::string_view::npos || xml.compare(root, 7, "REQUEST") != 0 ||
        (root + 7 < xml.size() && xml[root + 7] != '>' && xml[root + 7] != ' ' && xml[root + 7] != '\n' &&
         xml[root + 7] != '\r' && xml[root + 7] != '\t'))
        return Refused("not an agent request: the document is not a <REQUEST>");
    const std::string query = XmlElementText(xml, "QUERY");
    const std::string deviceId = XmlElementText(xml, "DEVICEID");
    HttpResponse response;
    if (query == "PROLOG") {
        response = XmlReply("<RESPONSE>SEND</RESPONSE><PROLOG_FREQ>" +
                            std::to_string(context.settings.prologFreqHours) + "</PROLOG_FREQ>");
        response.logOutcome = "prolog";
    } else if (query == "INVENTORY") {
        PostedImport posted = ImportPosted(deviceId.empty() ? "posted inventory" : deviceId, xml, context);
        if (posted.imported) {
            response = XmlReply("<RESPONSE>no_account_update</RESPONSE>");
            response.logOutcome = posted.outcome;
        } else {
            response = posted.refusal;
        }
    } else {
        response = Refused(query.empty() ? "not an agent request: no QUERY" : "unknown QUERY: " + query.substr(0, 40));
    }
    response.logDeviceId = deviceId.substr(0, 200);
    return response;
}
