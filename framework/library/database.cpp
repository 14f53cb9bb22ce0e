#include "library/database.h"

#include <sqlite3.h>

namespace mrb {
namespace {

// The timeout for a file that another process holds.
constexpr int TIMEOUT_MS = 2000;

[[noreturn]] void fail(sqlite3 *handle, int code) {
    throw DatabaseError(code, handle != nullptr ? sqlite3_errmsg(handle) : sqlite3_errstr(code));
}

} // namespace

DatabaseError DatabaseError::busy(const std::string &text) { return {SQLITE_BUSY, text}; }

bool DatabaseError::isDamage() const {
    const int primary = code_ & 0xff;
    // SQLITE_ERROR: the tables are not ours.
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB || primary == SQLITE_ERROR ||
           primary == SQLITE_MISMATCH;
}

void Database::close(sqlite3 *handle) { sqlite3_close_v2(handle); }

bool DatabaseError::isFull() const { return (code_ & 0xff) == SQLITE_FULL; }

bool DatabaseError::isBusy() const { return (code_ & 0xff) == SQLITE_BUSY; }

Database::Database(const std::string &path, Role role) {
    sqlite3 *opened = nullptr;
    const bool isReader = role == Role::READER;
    // A reader opens it for writing too: readers of a write-ahead log record their position
    // there.
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (isReader ? 0 : SQLITE_OPEN_CREATE);
    const int code = sqlite3_open_v2(path.empty() ? ":memory:" : path.c_str(), &opened, flags, nullptr);
    handle_.reset(opened);
    if (code != SQLITE_OK) {
        fail(opened, code);
    }
    sqlite3_extended_result_codes(opened, 1);
    sqlite3_busy_timeout(opened, isReader ? 0 : TIMEOUT_MS);
    // The file may have been crafted to attack us.
    sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    if (isReader) {
        sqlite3_db_config(opened, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        execute("PRAGMA query_only = ON");
    }
}

void Database::execute(const char *sql) {
    const int code = sqlite3_exec(get(), sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) {
        fail(get(), code);
    }
}

void Statement::finalize(sqlite3_stmt *statement) { sqlite3_finalize(statement); }

Statement::Statement(const Database &database, const std::string &sql) {
    sqlite3_stmt *made = nullptr;
    const int code = sqlite3_prepare_v3(database.get(), sql.c_str(), static_cast<int>(sql.size()),
                                        SQLITE_PREPARE_PERSISTENT, &made, nullptr);
    if (code != SQLITE_OK) {
        fail(database.get(), code);
    }
    statement_.reset(made);
}

void Statement::check(int code) const {
    if (code != SQLITE_OK) {
        fail(sqlite3_db_handle(statement_.get()), code);
    }
}

void Statement::bind(int parameter, std::int64_t number) {
    check(sqlite3_bind_int64(statement_.get(), parameter + 1, number));
}

void Statement::bind(int parameter, std::string_view text) {
    check(sqlite3_bind_text64(statement_.get(), parameter + 1, text.data(), text.size(), SQLITE_STATIC,
                              SQLITE_UTF8));
}

void Statement::bindBytes(int parameter, std::string_view bytes) {
    check(sqlite3_bind_blob64(statement_.get(), parameter + 1, bytes.data(), bytes.size(), SQLITE_STATIC));
}

void Statement::bind(int parameter, const MetadataValue &value) {
    if (const auto *number = std::get_if<std::int64_t>(&value)) {
        bind(parameter, *number);
    } else if (const auto *real = std::get_if<double>(&value)) {
        check(sqlite3_bind_double(statement_.get(), parameter + 1, *real));
    } else if (const auto *text = std::get_if<std::string>(&value)) {
        bind(parameter, std::string_view(*text));
    } else {
        check(sqlite3_bind_null(statement_.get(), parameter + 1));
    }
}

bool Statement::step() {
    const int code = sqlite3_step(statement_.get());
    if (code == SQLITE_ROW || code == SQLITE_DONE) {
        return code == SQLITE_ROW;
    }
    const DatabaseError failure(code, sqlite3_errmsg(sqlite3_db_handle(statement_.get())));
    reset();
    throw failure; // NOLINT(misc-throw-by-value-catch-by-reference): made before the reset that clears it
}

MetadataValue Statement::column(int column) const {
    switch (sqlite3_column_type(statement_.get(), column)) {
    case SQLITE_INTEGER:
        return sqlite3_column_int64(statement_.get(), column);
    case SQLITE_FLOAT:
        return sqlite3_column_double(statement_.get(), column);
    case SQLITE_TEXT: {
        const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(statement_.get(), column));
        const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column));
        return text == nullptr ? MetadataValue() : MetadataValue(cleanText({text, size}));
    }
    default:
        return {};
    }
}

std::int64_t Statement::number(int column) const { return sqlite3_column_int64(statement_.get(), column); }

void Statement::reset() {
    sqlite3_reset(statement_.get());
    sqlite3_clear_bindings(statement_.get());
}

} // namespace mrb
