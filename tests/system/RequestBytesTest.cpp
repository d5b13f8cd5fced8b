// The bytes of request.xml that the agent reads.
#include "tests/system/ToolTest.h"

namespace {

struct Command {
    Arguments arguments;
    std::string request;
};

// Each tool is killed when its request has been seen, so the test does not wait for the exchange.
void ExpectOpenRequests(std::vector<Command> const& commands) {
    Sandbox::RunWithDirectories([&] {
        AgentScript script;
        for (size_t i = 0; i < commands.size(); ++i)
            script.AwaitRequest().RemoveRequest();
        ScriptedAgent agent(script);
        for (size_t i = 0; i < commands.size(); ++i) {
            SCOPED_TRACE(i);
            Tool tool(commands[i].arguments);
            EXPECT_EQ(commands[i].request, agent.AwaitRequests(i + 1)[i].bytes);
            tool.Kill(SIGKILL);
            EXPECT_EQ(ExitStatus::Killed(SIGKILL), tool.Wait().status);
        }
        agent.AwaitEnd();
    });
}

SANDBOX_TEST(RequestBytesTest, WritesExactBytesOfOpenProgressAndClose) {
    auto const evaluation = Evaluate(
        WholeEvaluation({ProgressResponse("3"), ProgressResponse("1")}),
        {"-c", "http://example.com:52311/cgi-bin/qzgather.exe/actionsite", "Doc.xml", "5"});
    // In full, to verify the shared texts.
    std::string const begun = "<?xml version=\"1.0\"?>\x0D\x0A"
                              "<VeskaClientComplianceRequest Version=\"1.0\">\x0D\x0A";
    std::string const ended = "</VeskaClientComplianceRequest>";
    std::string const progress = begun + "\x09<RequestType>Progress</RequestType>\x0D\x0A" + ended;
    EXPECT_THAT(BytesOf(evaluation.requests),
                testing::ElementsAre(
                    begun +
                        "\x09<RequestType>Open</RequestType>\x0D\x0A"
                        "\x09<RequestURL>http://example.com:52311/cgi-bin/qzgather.exe/actionsite"
                        "</RequestURL>\x0D\x0A"
                        "\x09<RequestDOC>Doc.xml</RequestDOC>\x0D\x0A"
                        "\x09<RequestFlags>5</RequestFlags>\x0D\x0A" +
                        ended,
                    progress, progress,
                    begun + "\x09<RequestType>Close</RequestType>\x0D\x0A" + ended));
}

TEST(RequestBytesTest, WritesArgumentsAsEscapedText) {
    ExpectOpenRequests(
        {{{"-d"}, OpenRequest("", "", "0")},
         {{"-c", "", ""}, OpenRequest("", "", "0")},
         {{"-c", "", "doc"}, OpenRequest("", "doc", "0")},
         {{"-c", "url", "", ""}, OpenRequest("url", "", "0")},
         {{"-c", "http://example.com/?a=1&b=<2>", "\"R&D\" 'x'.xml", "1"},
          OpenRequest("http://example.com/?a=1&amp;b=&lt;2&gt;", "\"R&amp;D\" 'x'.xml", "1")},
         {{"-c", "&amp;", "</RequestDOC>"}, OpenRequest("&amp;amp;", "&lt;/RequestDOC&gt;", "0")},
         {{"-c", "]]>", "<![CDATA["}, OpenRequest("]]&gt;", "&lt;![CDATA[", "0")},
         {{"-c", "%s%n%d", "\\x41"}, OpenRequest("%s%n%d", "\\x41", "0")},
         {{"-c", "\xC3\xA9t\xC3\xA9", "\xE9"},
          OpenRequest("&#xc3;&#xa9;t&#xc3;&#xa9;", "&#xe9;", "0")},
         {{"-c", "a\nb\r\nc\rd\te", " \x01\x1B "},
          OpenRequest("a\nb\r\nc\rd\te", " \x01\x1B ", "0")}});
}

TEST(RequestBytesTest, ReadsFlagsLikeAtoi) {
    std::vector<Command> commands;
    for (int flags = 0; flags < 16; ++flags) {
        std::string const numeral = std::to_string(flags);
        commands.push_back({{"-c", "url", "doc", numeral}, OpenRequest("url", "doc", numeral)});
    }
    for (auto const& [argument, numeral] :
         std::vector<std::pair<char const*, char const*>>{{"abc", "0"},
                                                          {"5x", "5"},
                                                          {"", "0"},
                                                          {" \t\n\v\f\r+7", "7"},
                                                          {"-0", "0"},
                                                          {"0x10", "0"},
                                                          {"x16", "0"},
                                                          {"- 16", "0"},
                                                          {"0015", "15"},
                                                          {"7.9e9", "7"},
                                                          {"1 5", "1"},
                                                          {"+-5", "0"}})
        commands.push_back({{"-c", "url", "doc", argument}, OpenRequest("url", "doc", numeral)});
    ExpectOpenRequests(commands);
}

TEST(RequestBytesTest, WritesEveryByteExceptNulInLongArguments) {
    std::string all;
    for (int byte = 1; byte < 256; ++byte)
        all += static_cast<char>(byte);
    std::string const longText = Repeated(all, 300);
    ExpectOpenRequests({{{"-c", all, "doc"}, OpenRequest(Escaped(all), "doc", "0")},
                        {{"-c", "url", all}, OpenRequest("url", Escaped(all), "0")},
                        {{"-c", longText, all + all, "15"},
                         OpenRequest(Escaped(longText), Escaped(all + all), "15")}});
}

TEST(RequestBytesTest, AppliesUmaskToFiles) {
    for (mode_t const mask : {0, 022, 077}) {
        Sandbox::RunWithDirectories([&] {
            ScriptedAgent agent(AgentScript().AwaitRequest());
            Tool tool({"-d"}, {.prepare = [&] {
                          umask(mask);
                          return true;
                      }});
            agent.AwaitEnd();
            for (char const* const path : {ScriptedAgent::request, ScriptedAgent::lockFile}) {
                struct stat facts {};
                ASSERT_EQ(0, lstat(path, &facts));
                EXPECT_EQ(S_IFREG | (0666 & ~mask), facts.st_mode) << path;
            }
            EXPECT_EQ("lockfile request.xml ", Requests());
        });
    }
}

SANDBOX_TEST(RequestBytesTest, UnprivilegedUserWritesTheSameOpenRequest) {
    ScriptedAgent agent(AgentScript().AwaitRequest());
    Tool tool = Tool::Unprivileged({"-c", "url", "doc", "3"});
    agent.AwaitEnd();
    EXPECT_EQ(OpenRequest("url", "doc", "3"), agent.Requests()[0].bytes);
}

} // namespace
