#include "server/store/sqlite/sqlite_store.h"

#include <sqlite3.h>

namespace brimwarden::server::store::sqlite {

namespace {

constexpr std::uint64_t format = 1;

constexpr const char* schema = R"(
CREATE TABLE IF NOT EXISTS named (name BLOB PRIMARY KEY, bytes BLOB NOT NULL) WITHOUT ROWID;
CREATE TABLE IF NOT EXISTS credentials (first INTEGER PRIMARY KEY, count INTEGER NOT NULL, roles INTEGER NOT NULL,
    disabled INTEGER NOT NULL, name BLOB NOT NULL, secret BLOB NOT NULL, old_secret BLOB NOT NULL,
    old_until INTEGER NOT NULL, created INTEGER NOT NULL);
CREATE TABLE IF NOT EXISTS reporters (id INTEGER PRIMARY KEY, trust REAL NOT NULL, reports INTEGER NOT NULL,
    revokes INTEGER NOT NULL, confirmed INTEGER NOT NULL, contradicted INTEGER NOT NULL);
CREATE TABLE IF NOT EXISTS messages (reporter INTEGER, message INTEGER, revoked INTEGER NOT NULL, recipe INTEGER NOT NULL,
    at INTEGER NOT NULL, PRIMARY KEY (reporter, message)) WITHOUT ROWID;
CREATE TABLE IF NOT EXISTS statements (signature INTEGER, reporter INTEGER, kind INTEGER NOT NULL, whole INTEGER NOT NULL,
    wanted INTEGER NOT NULL, weight REAL NOT NULL, messages INTEGER NOT NULL, at INTEGER NOT NULL,
    PRIMARY KEY (signature, reporter)) WITHOUT ROWID;
CREATE INDEX IF NOT EXISTS statements_by_reporter ON statements (reporter);
CREATE TABLE IF NOT EXISTS signatures (id INTEGER PRIMARY KEY, kind INTEGER NOT NULL, whole INTEGER NOT NULL,
    mark INTEGER NOT NULL, first INTEGER NOT NULL, touches INTEGER NOT NULL, seen0 INTEGER NOT NULL,
    seen1 INTEGER NOT NULL);
CREATE TABLE IF NOT EXISTS audit (at INTEGER NOT NULL, who BLOB NOT NULL, what BLOB NOT NULL, why BLOB NOT NULL);
)";

// Refuses a file of a later version before anything is written to it, and one that another process has open.
database& prepared(database& file) {
    file.run("PRAGMA locking_mode=EXCLUSIVE; PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; BEGIN IMMEDIATE;");
    query version(file, "PRAGMA user_version");
    (void)version.with().step();
    const auto found = version.number(0);
    version.drop();
    if (found > format)
        throw failure(file.path() + ": written by a later version of this program (format " + std::to_string(found) +
                      ", known is " + std::to_string(format) + ")");
    file.run(schema);
    file.run(("PRAGMA user_version=" + std::to_string(format) + "; COMMIT;").c_str());
    return file;
}

statement read_statement(const query& row, int from) {
    statement said;
    said.signature = row.number(from);
    said.kind = static_cast<signature_code>(row.number(from + 1));
    said.whole = row.number(from + 2) != 0;
    said.wanted = row.number(from + 3) != 0;
    said.weight = static_cast<float>(row.real(from + 4));
    said.messages = static_cast<std::uint32_t>(row.number(from + 5));
    said.at = static_cast<seconds>(row.number(from + 6));
    return said;
}

#define STATEMENT_COLUMNS "signature, kind, whole, wanted, weight, messages, at"

std::uint32_t small(const query& row, int column) { return static_cast<std::uint32_t>(row.number(column)); }

} // namespace

sqlite_store::sqlite_store(const std::string& path)
    : database_(path),
      state_of_(prepared(database_), "SELECT revoked FROM messages WHERE reporter = ? AND message = ?"),
      statement_of_(database_, "SELECT " STATEMENT_COLUMNS " FROM statements WHERE signature = ?2 AND reporter = ?1"),
      statements_on_(database_, "SELECT reporter, " STATEMENT_COLUMNS " FROM statements WHERE signature = ? LIMIT ?"),
      statements_of_(database_, "SELECT " STATEMENT_COLUMNS " FROM statements WHERE reporter = ?"),
      put_message_(database_, "REPLACE INTO messages VALUES (?, ?, ?, ?, ?)"),
      drop_message_(database_, "DELETE FROM messages WHERE reporter = ? AND message = ?"),
      put_statement_(database_, "REPLACE INTO statements VALUES (?, ?, ?, ?, ?, ?, ?, ?)"),
      drop_statement_(database_, "DELETE FROM statements WHERE signature = ? AND reporter = ?"),
      put_reporter_(database_, "REPLACE INTO reporters VALUES (?, ?, ?, ?, ?, ?)"),
      put_signature_(database_, "REPLACE INTO signatures VALUES (?, ?, ?, ?, ?, ?, ?, ?)") {}

void sqlite_store::load_signatures(const std::function<void(const signature_row&)>& visit) {
    query all(database_, "SELECT id, kind, whole, mark, first, touches, seen0, seen1 FROM signatures");
    all.with();
    while (all.step())
        visit({all.number(0),
               static_cast<signature_code>(all.number(1)),
               all.number(2) != 0,
               static_cast<mark>(all.number(3)),
               small(all, 4),
               small(all, 5),
               {all.number(6), all.number(7)}});
}

void sqlite_store::load_statements(const std::function<void(const statement_by&)>& visit) {
    query all(database_, "SELECT reporter, " STATEMENT_COLUMNS " FROM statements ORDER BY signature");
    all.with();
    while (all.step())
        visit({small(all, 0), read_statement(all, 1)});
}

std::vector<reporter> sqlite_store::load_reporters() {
    query all(database_, "SELECT id, trust, reports, revokes, confirmed, contradicted FROM reporters");
    std::vector<reporter> found;
    all.with();
    while (all.step())
        found.push_back({small(all, 0), static_cast<float>(all.real(1)), small(all, 2), small(all, 3), small(all, 4),
                         small(all, 5)});
    return found;
}

std::vector<credential> sqlite_store::load_credentials() {
    query all(database_, "SELECT first, count, roles, disabled, name, secret, old_secret, old_until, created "
                         "FROM credentials ORDER BY first");
    std::vector<credential> found;
    all.with();
    while (all.step())
        found.push_back({small(all, 0), small(all, 1), small(all, 2), all.number(3) != 0, all.text(4), all.text(5),
                         all.text(6), static_cast<seconds>(all.number(7)), static_cast<seconds>(all.number(8))});
    return found;
}

message_state sqlite_store::state_of(reporter_id who, std::uint64_t message) {
    if (!state_of_.with(who, message).step()) return message_state::none;
    const bool revoked = state_of_.number(0) != 0;
    state_of_.drop();
    return revoked ? message_state::revoked : message_state::reported;
}

std::optional<statement> sqlite_store::statement_of(reporter_id who, identity signature) {
    if (!statement_of_.with(who, signature).step()) return std::nullopt;
    const statement said = read_statement(statement_of_, 0);
    statement_of_.drop();
    return said;
}

std::vector<statement_by> sqlite_store::statements_on(identity signature, std::size_t most) {
    std::vector<statement_by> found;
    statements_on_.with(signature, std::uint64_t{most});
    while (statements_on_.step())
        found.push_back({small(statements_on_, 0), read_statement(statements_on_, 1)});
    return found;
}

std::vector<statement> sqlite_store::statements_of(reporter_id who) {
    std::vector<statement> found;
    statements_of_.with(who);
    while (statements_of_.step())
        found.push_back(read_statement(statements_of_, 0));
    return found;
}

std::vector<statement_by> sqlite_store::statements_after(identity signature, reporter_id who, std::size_t most) {
    query page(database_, "SELECT reporter, " STATEMENT_COLUMNS " FROM statements WHERE (signature, reporter) > (?, ?) "
                          "ORDER BY signature, reporter LIMIT ?");
    std::vector<statement_by> found;
    page.with(signature, who, std::uint64_t{most});
    while (page.step())
        found.push_back({small(page, 0), read_statement(page, 1)});
    return found;
}

void sqlite_store::save_statement(reporter_id who, const statement& said) {
    put_statement_
        .with(said.signature, who, static_cast<std::uint64_t>(said.kind), said.whole, said.wanted, said.weight,
              said.messages, said.at)
        .finish();
}

void sqlite_store::append(const change& made, const std::vector<reporter>& reporters) {
    transaction whole(database_);
    if (made.reported || made.wanted)
        put_message_.with(made.reporter, made.message, made.wanted, made.recipe, made.at).finish();
    else
        drop_message_.with(made.reporter, made.message).finish();
    for (const auto& said : made.said)
        save_statement(made.reporter, said);
    for (const identity signature : made.withdrawn)
        drop_statement_.with(signature, made.reporter).finish();
    for (const auto& one : reporters)
        put_reporter_.with(one.id, one.trust, one.reports, one.revokes, one.confirmed, one.contradicted).finish();
    whole.commit();
}

void sqlite_store::forget(reporter_id who) {
    transaction whole(database_);
    for (const char* table : {"DELETE FROM statements WHERE reporter = ?", "DELETE FROM messages WHERE reporter = ?",
                              "DELETE FROM reporters WHERE id = ?"})
        query(database_, table).with(who).finish();
    whole.commit();
}

void sqlite_store::merge(const merged& other) {
    transaction whole(database_);
    query reporters(database_, "INSERT OR IGNORE INTO reporters VALUES (?, ?, ?, ?, ?, ?)");
    query marks(database_, "INSERT INTO signatures VALUES (?, ?, ?, ?, ?, 0, 0, 0) "
                           "ON CONFLICT (id) DO UPDATE SET mark = excluded.mark WHERE mark = 0");
    for (const auto& one : other.statements)
        save_statement(one.reporter, one.said);
    for (const auto& one : other.reporters)
        reporters.with(one.id, one.trust, one.reports, one.revokes, one.confirmed, one.contradicted).finish();
    for (const auto& one : other.marks)
        marks
            .with(one.id, static_cast<std::uint64_t>(one.kind), one.whole, static_cast<std::uint64_t>(one.marked),
                  one.first)
            .finish();
    whole.commit();
}

void sqlite_store::save_row(const signature_row& row) {
    put_signature_
        .with(row.id, static_cast<std::uint64_t>(row.kind), row.whole, static_cast<std::uint64_t>(row.marked),
              row.first, row.touches, row.seen[0], row.seen[1])
        .finish();
}

void sqlite_store::save_signatures(const std::vector<signature_row>& rows) {
    transaction whole(database_);
    for (const auto& row : rows)
        save_row(row);
    whole.commit();
}

void sqlite_store::set_mark(const signature_row& row) { save_row(row); }

void sqlite_store::save_credential(const credential& row) {
    query(database_, "REPLACE INTO credentials VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)")
        .with(row.first, row.count, row.roles, row.disabled, row.name, row.secret, row.old_secret, row.old_until,
              row.created)
        .finish();
}

void sqlite_store::audit(const audit_line& line) {
    query(database_, "INSERT INTO audit VALUES (?, ?, ?, ?)").with(line.at, line.who, line.what, line.why).finish();
}

std::vector<audit_line> sqlite_store::last_audited(std::size_t most) {
    query all(database_, "SELECT at, who, what, why FROM audit ORDER BY rowid DESC LIMIT ?");
    std::vector<audit_line> found;
    all.with(std::uint64_t{most});
    while (all.step())
        found.push_back({static_cast<seconds>(all.number(0)), all.text(1), all.text(2), all.text(3)});
    return found;
}

std::optional<std::string> sqlite_store::value(std::string_view name) {
    query one(database_, "SELECT bytes FROM named WHERE name = ?");
    if (!one.with(name).step()) return std::nullopt;
    return one.text(0);
}

void sqlite_store::set_value(std::string_view name, std::string_view bytes) {
    query(database_, "REPLACE INTO named VALUES (?, ?)").with(name, bytes).finish();
}

// Page by page through SQLite's own backup: the copy is one state of the database, whatever is written meanwhile.
void sqlite_store::back_up(const std::string& path) {
    database copy(path);
    sqlite3_backup* const running = sqlite3_backup_init(copy.get(), "main", database_.get(), "main");
    if (running == nullptr) copy.fail("back up");
    (void)sqlite3_backup_step(running, -1);
    if (sqlite3_backup_finish(running) != SQLITE_OK) copy.fail("back up");
}

} // namespace brimwarden::server::store::sqlite
