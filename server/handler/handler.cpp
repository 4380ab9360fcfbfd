#include "server/handler/handler.h"

#include "community/wire/operation.h"
#include "foundation/exception.h"

namespace brimwarden::server::handler {

using analysis::community::operation_code;
using analysis::community::wire_signature;

namespace {

// Whoever asks under a forged address is answered with at most three times what the question took.
constexpr std::size_t most_amplification = 3;
constexpr std::size_t most_datagram = 1400;
constexpr std::size_t header_size = analysis::community::packet::header_size;

operation_code operation_of(const analysis::community::packet& request) {
    return static_cast<operation_code>(request.operation);
}

} // namespace

std::optional<std::string> handler::answer(std::string_view bytes, road came_by) {
    packet request;
    if (!request.parse(bytes)) return std::nullopt;
    ++statistics_.packets;
    outcome made = decide(request, came_by);
    if (made.silent) return std::nullopt;
    if (made.result != indicator::success && made.result != indicator::needs_connection) ++statistics_.refused;
    return reply_to(request, std::move(made));
}

std::optional<std::string> handler::refusal(std::string_view header, indicator reason) {
    packet request;
    if (!request.parse(header)) return std::nullopt;
    ++statistics_.packets;
    ++statistics_.refused;
    return reply_to(request, {reason, {}});
}

std::string handler::reply_to(const packet& request, outcome made) {
    packet reply;
    reply.version = 3;
    reply.reply_mark = true;
    reply.attempt = request.attempt;
    reply.operation = request.operation;
    reply.nonce = request.nonce;
    reply.indicator = static_cast<std::uint32_t>(made.result);
    reply.body = std::move(made.body);
    return reply.render();
}

// Three texts and four numbers in what three times an empty request leaves: the texts are cut.
std::string handler::status() const {
    constexpr std::size_t numbers = 4;
    std::size_t room = most_amplification * header_size - header_size - numbers - 3;
    packet body;
    for (const auto* const text : {&settings_.name, &settings_.location, &settings_.info}) {
        std::size_t kept = std::min(text->size(), room);
        while (kept < text->size() && kept > 0 && (static_cast<unsigned char>((*text)[kept]) & 0xC0) == 0x80)
            --kept; // not inside a character
        body.write_text(std::string_view(*text).substr(0, kept));
        room -= kept;
    }
    for (std::size_t i = 0; i < numbers; ++i)
        body.write_number(0); // clients do not look at them, and they are nobody's business
    return body.body;
}

std::optional<handler::opened> handler::admit(packet& request) const {
    const auto sealed = analysis::community::take_apart(request);
    if (!sealed) return std::nullopt;
    if (sealed->mode == 0 && sealed->id == 0) {
        if (!settings_.anonymous_queries || !proves(request, *sealed, "")) return std::nullopt;
        return opened{std::nullopt, open_payload(request, *sealed, "")};
    }
    const auto found = members_.find(sealed->mode, sealed->id, clock_.now());
    if (!found) return std::nullopt;
    for (const auto* const secret : {&found->secret, &found->old_secret})
        if (!secret->empty() && proves(request, *sealed, *secret))
            return opened{found, open_payload(request, *sealed, *secret)};
    return std::nullopt;
}

handler::outcome handler::decide(packet& request, road came_by) {
    const auto operation = operation_of(request);
    switch (operation) {
    case operation_code::status:
        return {indicator::success, status()};
    case operation_code::report:
    case operation_code::revoke:
        if (came_by == road::datagram) return {indicator::needs_connection, {}};
        break;
    case operation_code::query:
    case operation_code::update:
        break;
    default:
        return {indicator::malformed, {}};
    }
    const auto admitted = admit(request);
    if (!admitted) return {indicator::refused, {}};
    if (operation == operation_code::query) return query(request, *admitted, came_by);
    if (operation == operation_code::update) { // anybody can send these, so they say nothing
        ++statistics_.updates;
        return {};
    }
    return message(request, *admitted);
}

std::uint64_t handler::nonce_key(const packet& request, std::uint32_t id) const {
    return knowledge::keyed_hash(key_, "nonce " + std::to_string(id) + " " +
                                           std::string(request.nonce.data(), request.nonce.size()));
}

handler::outcome handler::query(const packet& request, const opened& asked, road came_by) {
    if (asked.who && (asked.who->roles & role::ask) == 0) return {indicator::not_allowed, {}};
    packet payload;
    payload.body = asked.payload;
    std::vector<wire_signature> signatures;
    if (!read_query_payload(payload, settings_.most_signatures, signatures)) return {indicator::malformed, {}};
    ++statistics_.queries;
    packet reply;
    for (const auto& found : questions_.answer(signatures)) {
        if (found.result.answer == judgement::verdict::unknown)
            write_unknown(reply);
        else
            write_known(reply, found.entry);
    }
    if (asked.who) { // a retry of the same request is no second question
        const std::uint64_t key = nonce_key(request, asked.who->id);
        if (nonces_.note(key, request.operation).is_new) questions_.note(signatures, asked.who->id);
    }
    const std::size_t size = reply.body.size() + header_size;
    const std::size_t asked_with = request.body.size() + header_size;
    const bool too_much = size > most_datagram || (!asked.who && size > most_amplification * asked_with);
    if (came_by == road::datagram && too_much) return {indicator::needs_connection, {}};
    return {indicator::success, std::move(reply.body)};
}

handler::outcome handler::message(const packet& request, const opened& told) {
    if (!told.who || (told.who->roles & role::report) == 0) return {indicator::not_allowed, {}};
    packet payload;
    payload.body = told.payload;
    std::uint64_t flag = 0;
    std::string text;
    if (!payload.read_number(flag) || flag > 1 || !payload.read_text(text) ||
        payload.read_position != payload.body.size())
        return {indicator::malformed, {}};
    if (text.size() > settings_.most_message) return {indicator::over_limit, {}};
    // The digest does not cover the operation: a report that was recorded must not come back as a revoke.
    const std::uint64_t key = nonce_key(request, told.who->id);
    if (nonces_.note(key, request.operation).first != request.operation) return {indicator::malformed, {}};
    const bool wanted = operation_of(request) == operation_code::revoke;
    try {
        reporting_.take({told.who->id, wanted, flag == 1}, text);
    } catch (const store::failure&) {
        ++statistics_.failed;
        return {indicator::success, {}, true};
    } catch (const tackle::exception&) {
        return {indicator::unreadable, {}};
    }
    ++(wanted ? statistics_.revokes : statistics_.reports);
    return {};
}

} // namespace brimwarden::server::handler
