#include "analysis/plugins/header_analysis.h"
#include "tests/analysis/findings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <netdb.h>
#endif

// The system's resolver, for this whole program, as it is where nobody has started the system's sockets. It then fails
// even for digits; Wine's own would answer all the same.
extern "C" {
#ifdef _WIN32
int WSAAPI refuse_name(const SOCKADDR*, socklen_t, PCHAR, DWORD, PCHAR, DWORD, INT) { return WSANOTINITIALISED; }
decltype(&refuse_name) __imp_getnameinfo = refuse_name; // what calls of an imported function go through
#else
int getnameinfo(const sockaddr*, socklen_t, char*, socklen_t, char*, socklen_t, int) { return EAI_FAIL; }
#endif
}

namespace {

using namespace brimwarden::analysis;
using tackle::internet::message2::part;

// The findings of the header tests, and "value details" of each signature after a bar. The tests of the root as a whole
// have a table of their own.
std::string analyse(const std::string& message) {
    const part root{tackle::string_view(message)};
    signature_list signatures;
    signatures.with_details = true;
    test_result_list test_results;
    trace_list trace;
    plugins::header_analysis::plugin().generate(root, signatures, test_results, trace);
    std::erase_if(test_results, [](const auto& result) { return result.name.starts_with(u"Root."); });
    std::string found = findings::joined(test_results);
    for (const auto& record : signatures)
        found += '|' + findings::narrow(record.value) + ' ' + findings::narrow(record.details);
    return found;
}

const std::string good_head = "Subject: s\r\nFrom: \"A\" <a@x.example>\r\nTo: b@y.example\r\n";
const std::string received = "|192.0.2.9 Extracted from Received: field";
const std::string client = "X-MimeOLE: Produced By Microsoft MimeOLE V6\r\nX-Mailer: Microsoft Outlook Express 6\r\n";

struct header_case {
    const char* label;
    std::string head;
    std::string expected;
};
const header_case header_cases[] = {
    {"nothing to find", good_head, ""},
    {"no fields at all", "", "Header.Subject.Empty 20, Header.From.Empty 10, Header.To.Empty 10"},
    {"blank subject", "Subject: =?utf-8?Q?_=C2=A0?=\r\nFrom: \"A\" <a@x>\r\nTo: b@y\r\n", "Header.Subject.Empty 20"},
    {"unreadable subject is silent, the rest goes on", "Subject: =?utf-8?Q?=ZZ?=\r\nFrom: a@x\r\nTo: b@y\r\n",
     "Header.From.No_Display_Name 5"},
    {"display name of blanks", "Subject: s\r\nFrom: \" \" <a@x>\r\nTo: b@y\r\n", "Header.From.No_Display_Name 5"},
    {"self addressed", "Subject: s\r\nFrom: \"A\" <a@x>\r\nTo: a@x\r\n", "Header.To.Self_Addressed 10"},
    {"self addressed but for the case", "Subject: s\r\nFrom: \"A\" <a@x>\r\nTo: A@x\r\n", ""},
    {"two recipients are no self address", "Subject: s\r\nFrom: \"A\" <a@x>\r\nTo: a@x, a@x\r\n", ""},

    {"the lowest public hop is the origin",
     good_head +
         "Received: from [192.0.2.1] by a\r\nReceived: from [192.0.2.9] by b\r\nReceived: from [10.0.0.1] by c\r\n",
     received},
    {"field name in another case", good_head + "rECEIVED: from [192.0.2.9] by b\r\n", received},
    {"a broken hop is passed over",
     good_head + "Received: from [192.0.2.9] by a\r\nReceived: from [999.1.1.1] by b\r\n", received},

    {"client mark with a short preamble", good_head + client + "Content-Type: multipart/mixed; boundary=b\r\n",
     "Header.X-Mailer.Forged 10"},
    {"mark of another client",
     good_head + "X-MimeOLE: Produced By Microsoft MimeOLE V6\r\nX-Mailer: x\r\n"
                 "Content-Type: multipart/mixed; boundary=b\r\n",
     ""},
    {"identifier as the origin", good_head + client + "Message-ID: <a$b$090200c0@h>\r\n",
     "|192.0.2.9 Extracted from Message-ID: field"},
    {"identifier beside a private hop",
     good_head + client + "Message-ID: <a$b$090200c0@h>\r\nReceived: from [10.0.0.1] by b\r\n",
     "|192.0.2.9 Extracted from Message-ID: field"},
    {"identifier among the hops",
     good_head + client + "Message-ID: <a$b$090200c0@h>\r\nReceived: from [192.0.2.9] by b\r\n", received},
    {"identifier not among the hops",
     good_head + client + "Message-ID: <a$b$080200c0@h>\r\nReceived: from [192.0.2.9] by b\r\n",
     "Header.Message-ID.Forged 30" + received},
    {"private identifier", good_head + client + "Message-ID: <a$b$0100000a@h>\r\n", ""},
    {"no client mark, no look at the identifier", good_head + "Message-ID: <a$b$090200c0@h>\r\n", ""},

    {"trusted sender without any hop", "Subject: s\r\nFrom: \"A\" <a@brimwarden.example>\r\nTo: b@y\r\n",
     "Header.From.Trusted 0 whitelist"},
    {"trusted suffix in another case", "Subject: s\r\nFrom: \"A\" <a@Brimwarden.example>\r\nTo: b@y\r\n", ""},
    {"trusted sender through the first block",
     "Subject: s\r\nFrom: \"A\" <a@alerts.brimwarden.example>\r\nTo: b@y\r\n"
     "Received: from [198.18.7.255] by b\r\nReceived: from [192.0.2.9] by c\r\n",
     "Header.From.Trusted 0 whitelist" + received},
    {"trusted sender from elsewhere",
     "Subject: s\r\nFrom: \"A\" <a@mail.brimwarden.example>\r\nTo: b@y\r\nReceived: from [192.0.2.9] by c\r\n",
     received},
    {"one below the second block",
     "Subject: s\r\nFrom: \"A\" <a@mail.brimwarden.example>\r\nTo: b@y\r\nReceived: from [198.51.100.63] by c\r\n",
     "|198.51.100.63 Extracted from Received: field"},
    {"the single host",
     "Subject: s\r\nFrom: \"A\" <a@mail.brimwarden.example>\r\nTo: b@y\r\nReceived: from [203.0.113.25] by c\r\n",
     "Header.From.Trusted 0 whitelist|203.0.113.25 Extracted from Received: field"},
};

TEST(header_analysis, finds_without_a_resolver) {
    EXPECT_THROW((void)tackle::internet::address::ip4().to_string(2), tackle::exception);
    for (const auto& c : header_cases) {
        SCOPED_TRACE(c.label);
        EXPECT_EQ(analyse(c.head + "\r\nbody\r\n"), c.expected);
    }
}

TEST(header_analysis, takes_a_long_preamble_for_the_client) {
    const auto head = good_head + client + "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
    // The line end counts: 29 characters and CR LF make 31 bytes.
    EXPECT_EQ(analyse(head + std::string(29, 'x') + "\r\n--b\r\n\r\n"), "Header.X-Mailer.Forged 10");
    EXPECT_EQ(analyse(head + std::string(30, 'x') + "\r\n--b\r\n\r\n"), "");
}

TEST(header_analysis, counts_the_first_executable) {
    const auto found = analyse(good_head + "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
                                           "--b\r\nContent-Type: text/plain; name=a.EXE\r\n\r\n"
                                           "--b\r\nContent-Type: text/plain; name=b.exe.txt\r\n\r\n"
                                           "--b\r\nContent-Disposition: attachment; filename=c.pif\r\n\r\n"
                                           "--b\r\nContent-Type: message/rfc822; name=d.bat\r\n\r\n\r\n--b--\r\n");
    EXPECT_EQ(found, "Part.Content-Type.Executable 40, Part.Content-Type.Executable 0");
}

} // namespace
