#include "community/client/community_client.h"

#include "community/wire/reply_body.h"
#include "community/wire/request_body.h"
#include "community/wire/sealing.h"

namespace brimwarden::analysis::community {

namespace {

// What is larger may be lost on the way as a datagram, with no word about it.
constexpr std::size_t largest_datagram_packet = 512;

bool needs_connection(const packet& sealed) {
    return sealed.body.size() + packet::header_size > largest_datagram_packet;
}

} // namespace

void community_client::query(scan_context& scan, community_statistics& statistics,
                             const community_credentials& credentials, std::uint32_t timeout_ms) {
    request asked(operation_code::query, statistics);
    write_query(asked.outgoing, scan.signatures);
    asked.key = seal(asked.outgoing, credentials);
    asked.longest_answer += scan.signatures.size() * longest_query_entry;
    execute(asked, needs_connection(asked.outgoing), timeout_ms, scan.trace);
    open_response(asked.response, asked.key);
    read_query(asked.response, scan.signatures);
    scan.community_answered = true;
}

void community_client::update(scan_context& scan, community_statistics& statistics,
                              const community_credentials& credentials, std::uint32_t /*timeout_ms*/) {
    request told(operation_code::update, statistics);
    write_update(told.outgoing, scan.probability, scan.signatures);
    told.key = seal(told.outgoing, credentials);
    execute(told, needs_connection(told.outgoing), 0, scan.trace);
}

void community_client::send_message(operation_code operation, scan_context& scan, community_statistics& statistics,
                                    const community_credentials& credentials, std::uint32_t timeout_ms,
                                    bool report_flag) {
    request told(operation, statistics);
    write_message(told.outgoing, report_flag, scan.message->render_text());
    told.key = seal(told.outgoing, credentials);
    execute(told, true, timeout_ms, scan.trace);
    expect_end(told.response);
}

void community_client::report(scan_context& scan, community_statistics& statistics,
                              const community_credentials& credentials, std::uint32_t timeout_ms, bool report_flag) {
    send_message(operation_code::report, scan, statistics, credentials, timeout_ms, report_flag);
}

void community_client::revoke(scan_context& scan, community_statistics& statistics,
                              const community_credentials& credentials, std::uint32_t timeout_ms, bool report_flag) {
    send_message(operation_code::revoke, scan, statistics, credentials, timeout_ms, report_flag);
}

} // namespace brimwarden::analysis::community
