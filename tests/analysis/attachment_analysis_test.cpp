#include "analysis/plugins/attachment_analysis.h"
#include "tests/analysis/findings.h"

#include <gtest/gtest.h>

namespace {

using namespace brimwarden::analysis;
using tackle::internet::message2::part;

struct file {
    const char* type;
    const char* name;
    std::size_t bytes; // as the part's data has them, its last line end included
};

// A multipart message of files of the letter x. Its own part is no file.
std::string message_of(const std::vector<file>& files) {
    std::string message = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
    for (const auto& f : files) {
        message += std::string("--b\r\nContent-Type: ") + f.type + "\r\nContent-Disposition: attachment; filename=\"" +
                   f.name + "\"\r\n\r\n";
        if (f.bytes >= 2) message += std::string(f.bytes - 2, 'x') + "\r\n";
    }
    return message + "--b--\r\n";
}

struct attachment_case {
    const char* label;
    std::vector<file> files;
    std::string results;
    std::size_t signatures;
};
const attachment_case attachment_cases[] = {
    {"empty zip", {{"x/y", "a.zip", 0}}, "Part.Zip.Corrupt 90", 1},
    {"zip by type alone", {{"application/zip", "a", 21}}, "Part.Zip.Corrupt 90", 1},
    {"zip by the other type", {{"application/x-zip-compressed", "a", 22}}, "Part.Zip.Small 30", 1},
    {"name in capitals, largest small zip", {{"x/y", "A.ZIP", 65535}}, "Part.Zip.Small 30", 1},
    {"smallest large zip", {{"x/y", "a.zip", 65536}}, "", 1},
    {"rtf", {{"x/y", "a.rtf", 65535}}, "Part.Rtf.Small 30", 1},
    {"large rtf", {{"x/y", "a.rtf", 65536}}, "", 1},
    {"rtf by type is none", {{"application/rtf", "a", 100}}, "", 1},
    {"zip and rtf in one", {{"application/zip", "a.rtf", 100}}, "Part.Zip.Small 30, Part.Rtf.Small 0", 1},
    {"two small ones count once",
     {{"x/y", "a.zip", 100}, {"x/y", "b.rtf", 100}},
     "Part.Zip.Small 30, Part.Rtf.Small 0",
     2},
    {"a corrupt one counts behind a small one, and takes the points of the next",
     {{"x/y", "a.zip", 100}, {"x/y", "b.zip", 2}, {"x/y", "c.zip", 100}},
     "Part.Zip.Small 30, Part.Zip.Corrupt 90, Part.Zip.Small 0",
     3},
    {"corrupt first", {{"x/y", "b.zip", 2}, {"x/y", "c.rtf", 2}}, "Part.Zip.Corrupt 90, Part.Rtf.Small 0", 2},
    {"short text has no signature", {{"text/plain", "a", 1023}}, "", 0},
    {"long text has one", {{"text/plain", "a", 1024}}, "", 1},
    {"html has one at any size", {{"text/html", "a", 0}}, "", 1},
    {"messages and multiparts are no files", {{"message/x", "a.zip", 100}, {"multipart/x", "b.rtf", 100}}, "", 0},
    {"an unreadable file name is none, name and type still count",
     {{"application/zip; name=b.rtf", "=?utf-8?Q?=ZZ?=", 100}},
     "Part.Zip.Small 30, Part.Rtf.Small 0",
     1},
};

TEST(attachment_analysis, finds) {
    for (const auto& c : attachment_cases) {
        SCOPED_TRACE(c.label);
        const auto message = message_of(c.files);
        const part root{tackle::string_view(message)};
        signature_list signatures;
        test_result_list test_results;
        trace_list trace;
        plugins::attachment_analysis::plugin().generate(root, signatures, test_results, trace);
        EXPECT_EQ(findings::joined(test_results), c.results);
        EXPECT_EQ(signatures.size(), c.signatures);
    }
}

TEST(attachment_analysis, signs_the_decoded_bytes_and_leaves_nested_messages_out) {
    const part root{
        tackle::string_view("Content-Type: multipart/mixed; boundary=b\r\n\r\n"
                            "--b\r\nContent-Type: image/gif\r\nContent-Transfer-Encoding: base64\r\n\r\nYWJj\r\n"
                            "--b\r\nContent-Type: message/rfc822\r\n\r\nContent-Type: image/gif\r\n\r\nabc\r\n"
                            "--b--\r\n")};
    signature_list signatures;
    test_result_list test_results;
    trace_list trace;
    plugins::attachment_analysis::plugin().generate(root, signatures, test_results, trace);
    ASSERT_EQ(signatures.size(), 1U);
    EXPECT_EQ(findings::narrow(signatures[0].type), "prd");
    EXPECT_EQ(findings::narrow(signatures[0].value), "kAFQmDzST7DWlj99KOF/cg"); // MD5 of "abc" in RFC 1321
}

} // namespace
