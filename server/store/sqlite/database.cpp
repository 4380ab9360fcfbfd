#include "server/store/sqlite/database.h"

#include "server/store/store.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

namespace brimwarden::server::store::sqlite {

void database::closer::operator()(sqlite3* handle) const noexcept { sqlite3_close_v2(handle); }

// The file is made here, since SQLite gives its side files the rights of the main one.
database::database(const std::string& path) : path_(path) {
    if (const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600); file >= 0) ::close(file);
    sqlite3* handle = nullptr;
    const int status = sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    handle_.reset(handle);
    if (status != SQLITE_OK) fail("open");
    sqlite3_busy_timeout(handle, 1000);
    sqlite3_extended_result_codes(handle, 1);
}

void database::fail(std::string_view action) const {
    throw failure(path_ + ": cannot " + std::string(action) + ": " +
                  (handle_ ? sqlite3_errmsg(handle_.get()) : "out of memory"));
}

void database::run(const char* script) {
    if (sqlite3_exec(handle_.get(), script, nullptr, nullptr, nullptr) != SQLITE_OK) fail(script);
}

void query::closer::operator()(sqlite3_stmt* handle) const noexcept { sqlite3_finalize(handle); }

query::query(database& owner, const char* text) : owner_(&owner) {
    sqlite3_stmt* handle = nullptr;
    if (sqlite3_prepare_v3(owner.get(), text, -1, SQLITE_PREPARE_PERSISTENT, &handle, nullptr) != SQLITE_OK)
        owner.fail(text);
    handle_.reset(handle);
}

void query::drop() { (void)sqlite3_reset(handle_.get()); } // tells again what the last step has told

void query::bind(int place, std::uint64_t value) {
    if (sqlite3_bind_int64(handle_.get(), place, static_cast<sqlite3_int64>(value)) != SQLITE_OK) owner_->fail("bind");
}

void query::bind(int place, double value) {
    if (sqlite3_bind_double(handle_.get(), place, value) != SQLITE_OK) owner_->fail("bind");
}

void query::bind(int place, std::string_view value) {
    const char* bytes = value.empty() ? "" : value.data(); // a null pointer would bind NULL
    if (sqlite3_bind_blob64(handle_.get(), place, bytes, value.size(), SQLITE_STATIC) != SQLITE_OK)
        owner_->fail("bind");
}

bool query::step() {
    const int status = sqlite3_step(handle_.get());
    if (status == SQLITE_ROW) return true;
    if (status == SQLITE_DONE) {
        drop(); // or the read lock would outlive the rows
        return false;
    }
    drop();
    owner_->fail(sqlite3_sql(handle_.get()));
}

void query::finish() {
    while (step()) {
    }
}

std::uint64_t query::number(int column) const {
    return static_cast<std::uint64_t>(sqlite3_column_int64(handle_.get(), column));
}

double query::real(int column) const { return sqlite3_column_double(handle_.get(), column); }

std::string query::text(int column) const {
    const void* bytes = sqlite3_column_blob(handle_.get(), column);
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(handle_.get(), column));
    return size == 0 ? std::string() : std::string(static_cast<const char*>(bytes), size);
}

transaction::~transaction() {
    if (open_) (void)sqlite3_exec(owner_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void transaction::commit() {
    owner_.run("COMMIT");
    open_ = false;
}

} // namespace brimwarden::server::store::sqlite
