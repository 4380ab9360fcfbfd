#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

// SQLite with destructors and exceptions: store::failure with the file, the action and the reason.
namespace brimwarden::server::store::sqlite {

class database {
public:
    // Makes the file, readable by its owner alone, if there is none.
    explicit database(const std::string& path);
    void run(const char* script); // one or more statements without results
    [[nodiscard]] sqlite3* get() const { return handle_.get(); }
    [[noreturn]] void fail(std::string_view action) const;
    [[nodiscard]] const std::string& path() const { return path_; }

private:
    struct closer {
        void operator()(sqlite3* handle) const noexcept;
    };
    std::string path_;
    std::unique_ptr<sqlite3, closer> handle_;
};

// A prepared statement. Values are bound in their order; numbers keep all 64 bits.
class query {
public:
    query(database& owner, const char* text);

    template <typename... values>
    query& with(const values&... bound) {
        drop();
        int place = 0;
        (bind(++place, bound), ...);
        return *this;
    }
    [[nodiscard]] bool step(); // true: a row is there
    void finish();             // runs to the end and drops rows
    void drop();               // forgets the rows that are left

    [[nodiscard]] std::uint64_t number(int column) const;
    [[nodiscard]] double real(int column) const;
    [[nodiscard]] std::string text(int column) const;

private:
    void bind(int place, std::uint64_t value);
    void bind(int place, std::int64_t value) { bind(place, static_cast<std::uint64_t>(value)); }
    void bind(int place, std::uint32_t value) { bind(place, std::uint64_t{value}); }
    void bind(int place, bool value) { bind(place, std::uint64_t{value}); }
    void bind(int place, double value);
    void bind(int place, float value) { bind(place, double{value}); }
    void bind(int place, std::string_view value); // as a blob, good until the next `with`
    void bind(int place, const std::string& value) { bind(place, std::string_view(value)); }

    struct closer {
        void operator()(sqlite3_stmt* handle) const noexcept;
    };
    database* owner_;
    std::unique_ptr<sqlite3_stmt, closer> handle_;
};

// Rolls back unless it was committed.
class transaction {
public:
    explicit transaction(database& owner) : owner_(owner) { owner_.run("BEGIN IMMEDIATE"); }
    ~transaction();
    transaction(const transaction&) = delete;
    transaction& operator=(const transaction&) = delete;
    void commit();

private:
    database& owner_;
    bool open_ = true;
};

} // namespace brimwarden::server::store::sqlite
