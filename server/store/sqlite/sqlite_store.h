#pragma once

#include "server/store/sqlite/database.h"
#include "server/store/store.h"

namespace brimwarden::server::store::sqlite {

// One file in WAL mode, written with full synchronisation: what `append` has returned from survives a power failure.
// The file belongs to one process at a time; a second one is refused.
class sqlite_store final : public store {
public:
    explicit sqlite_store(const std::string& path);

    void load_signatures(const std::function<void(const signature_row&)>& visit) override;
    void load_statements(const std::function<void(const statement_by&)>& visit) override;
    std::vector<reporter> load_reporters() override;
    std::vector<credential> load_credentials() override;
    message_state state_of(reporter_id who, std::uint64_t message) override;
    std::optional<statement> statement_of(reporter_id who, identity signature) override;
    std::vector<statement_by> statements_on(identity signature, std::size_t most) override;
    std::vector<statement> statements_of(reporter_id who) override;
    std::vector<statement_by> statements_after(identity signature, reporter_id who, std::size_t most) override;
    void append(const change& made, const std::vector<reporter>& reporters) override;
    void forget(reporter_id who) override;
    void merge(const merged& other) override;
    void save_signatures(const std::vector<signature_row>& rows) override;
    void save_credential(const credential& row) override;
    void set_mark(const signature_row& row) override;
    void audit(const audit_line& line) override;
    std::vector<audit_line> last_audited(std::size_t most) override;
    std::optional<std::string> value(std::string_view name) override;
    void set_value(std::string_view name, std::string_view bytes) override;
    void back_up(const std::string& path) override;

private:
    void save_statement(reporter_id who, const statement& said);
    void save_row(const signature_row& row);

    database database_; // before the statements, which end first
    query state_of_, statement_of_, statements_on_, statements_of_;
    query put_message_, drop_message_, put_statement_, drop_statement_, put_reporter_, put_signature_;
};

} // namespace brimwarden::server::store::sqlite
