#include "fuzz/support/scripted_peer.h"

#include "foundation/sync/scope.h"

#include <utility>

using brimwarden::community_server::behaviour;
using brimwarden::community_server::seen_request;
using brimwarden::community_server::server;
using tackle::scope;

scripted_peer::scripted_peer()
    : address_(server::fresh_address()),
      peer_(address_, std::string(secret),
            [this](server& self, const auto& request) { return answer_to(self, request); }) {
    const auto numeric = address_.to_string(tackle::internet::address::numeric_host);
    host_.assign(numeric.begin(), numeric.end());
    peer_.keep_nothing();
}

void scripted_peer::answer_with(scripted_answer answer) {
    const scope lock(&lock_);
    answer_ = std::move(answer);
}

behaviour scripted_peer::answer_to(server& self, const seen_request& request) {
    constexpr std::uint32_t status = 0, update = 3;
    using form = scripted_answer::form;
    if (request.header.operation == status) return self.honest(request);
    if (request.header.operation == update) return {{{server::reply_to(request, 0, {})}}};
    const scope lock(&lock_);
    const bool wants_connections = answer_.how == form::over_connections || answer_.how == form::raw;
    if (wants_connections && !request.by_connection) return {{{server::reply_to(request, 1, {})}}};
    if (answer_.how == form::raw) return {{{answer_.payload}}};
    if (answer_.how == form::enciphered)
        return {{{self.enciphered_reply_to(request, answer_.payload, answer_.indicator)}}};
    return {{{server::reply_to(request, answer_.indicator, answer_.payload)}}};
}
