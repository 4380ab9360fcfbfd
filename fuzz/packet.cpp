#include "community/client/request.h"
#include "community/errors.h"
#include "community/wire/reply_body.h"
#include "community/wire/sealing.h"

#include <cstdlib>

// Whatever a server sends ends in an answer or a protocol error, and a packet taken apart renders to the same bytes but
// for what only the sender may choose.
namespace community = brimwarden::analysis::community;

namespace {

brimwarden::analysis::signature_list signatures() {
    brimwarden::analysis::signature_list list;
    for (int i = 0; i < 8; ++i)
        list.emplace_back(u"tru", u"com.example/" + std::u16string(static_cast<std::size_t>(i), u'a'));
    return list;
}

void read_as_query(const community::packet& came, bool sealed) {
    community::community_statistics counted;
    community::request asked(sealed ? community::operation_code::query : community::operation_code::status, counted);
    if (sealed) {
        asked.outgoing.nonce = came.nonce;
        asked.key = community::seal(asked.outgoing, {1, 2, u"secret"});
    }
    asked.response = came;
    auto list = signatures();
    try {
        community::open_response(asked.response, asked.key);
        community::read_query(asked.response, list);
        if (asked.response.read_position != asked.response.body.size()) std::abort();
    } catch (const community::protocol_error&) { // a bad answer, well told
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    community::packet came;
    if (!came.parse(bytes)) return 0;
    if (came.render() != bytes) std::abort();
    read_as_query(came, true);
    read_as_query(came, false);
    community::server_status read;
    community::packet status = came;
    if (!community::read_status(status, read) && status.read_position > status.body.size()) std::abort();
    try {
        community::expect_end(came);
        if (!came.body.empty()) std::abort();
    } catch (const community::protocol_error&) { // there was something
    }
    return 0;
}
