// The XML agent protocol (FusionInventory 2.x and OCS agents). The agent posts a <REQUEST>:
//
//   <REQUEST><DEVICEID>ID</DEVICEID><QUERY>PROLOG</QUERY></REQUEST>
//       -> <REPLY><RESPONSE>SEND</RESPONSE><PROLOG_FREQ>HOURS</PROLOG_FREQ></REPLY>
//   <REQUEST><CONTENT>...</CONTENT><DEVICEID>ID</DEVICEID><QUERY>INVENTORY</QUERY></REQUEST>
//       -> imported, then <REPLY><RESPONSE>no_account_update</RESPONSE></REPLY>
//
// HOURS is the site option AgentPrologFreq (24 by default): the agent's longest wait before it
// reports again. Any other QUERY, or a document that is not a <REQUEST>, gets 400.
#pragma once

#include <string>
#include <string_view>

#include "server/http_message.h"
#include "server/worker_context.h"

// The reply to the plain XML `xml` (not yet compressed).
HttpResponse AnswerXmlMessage(std::string_view xml, WorkerContext& context);

// The text of the first <NAME>...</NAME> element of `xml` (entities left as they are); empty
// when there is none.
std::string XmlElementText(std::string_view xml, const std::string& name);
