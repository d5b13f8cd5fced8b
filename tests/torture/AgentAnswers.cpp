#include "tests/torture/AgentAnswers.h"

#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#define CC_RESPONSE(type, content)                                                   \
    "<?xml version=\"1.0\"?>\r\n<VeskaClientComplianceResponse Version=\"1.0\">\r\n" \
    "\t<ResponseType>" type "</ResponseType>\r\n" content "</VeskaClientComplianceResponse>"

#define CC_ROW                                                                             \
    "\t<ResponseItem>\r\n"                                                                 \
    "\t\t<Designator>a-designator-that-is-long-enough</Designator>\r\n"                    \
    "\t\t<Result>Compliant</Result>\r\n"                                                   \
    "\t\t<ResultType>a type of result that is long enough</ResultType>\r\n"                \
    "\t\t<EvaluationTime>1523</EvaluationTime>\r\n"                                        \
    "\t\t<Description>A description &lt;with an escape&gt; that is long</Description>\r\n" \
    "\t\t<Comment></Comment>\r\n"                                                          \
    "\t</ResponseItem>\r\n"

namespace {

constexpr char const* request = "/var/opt/VeskaClient/RequestDir/request.xml";
constexpr char const* response = "/var/opt/VeskaClient/ResponseDir/response.xml";
constexpr char const* newResponse = "/var/opt/VeskaClient/ResponseDir/new.xml";

bool finishes = false;

char const* AnswerTo(char const* bytes) {
    if (std::strstr(bytes, "<RequestType>Open<") != nullptr)
        return AgentAnswers::opened;
    if (std::strstr(bytes, "<RequestType>Close<") != nullptr)
        return AgentAnswers::closed;
    finishes = !finishes;
    return finishes ? AgentAnswers::atWork : AgentAnswers::finished;
}

void Respond(char const* answer) {
    int const file = open(newResponse, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    bool const written = write(file, answer, std::strlen(answer)) >= 0;
    close(file);
    if (written)
        std::rename(newResponse, response);
}

} // namespace

namespace AgentAnswers {

char const opened[] = CC_RESPONSE("Open", "");
char const closed[] = CC_RESPONSE("Close", "");
char const atWork[] =
    CC_RESPONSE("Progress", "\t<ResponseProgressState>3</ResponseProgressState>\r\n"
                            "\t<ResponseProgressPercent>40</ResponseProgressPercent>\r\n");
char const finished[] =
    CC_RESPONSE("Progress", "\t<ResponseProgressState>1</ResponseProgressState>\r\n" CC_ROW CC_ROW);

void BeginAgain() { finishes = false; }

void AnswerRequest() {
    int const file = open(request, O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return;
    char bytes[4096] = {};
    bool const isRead = read(file, bytes, sizeof bytes - 1) > 0;
    close(file);
    if (isRead)
        Respond(AnswerTo(bytes));
    unlink(request);
}

} // namespace AgentAnswers
