#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "base/deleter.h"
#include "metadata/metadata.h"

struct sqlite3;
struct sqlite3_stmt;

namespace mrb {

// An error of SQLite; thrown here, and caught by the cache.
class DatabaseError : public std::runtime_error {
  public:
    DatabaseError(int code, const std::string &text) : std::runtime_error(text), code_(code) {}
    // For a timeout that is not SQLite's own.
    static DatabaseError busy(const std::string &text);
    [[nodiscard]] bool isDamage() const; // the file's contents, not its surroundings, are at fault
    [[nodiscard]] bool isFull() const;   // the file has reached its maximum size, or the disk is full
    [[nodiscard]] bool isBusy() const;   // another connection held the file until the timeout

  private:
    int code_;
};

// One open SQLite database; an empty path is one in memory. Owned by the cache,
// which uses it on one thread at a time.
class Database {
  public:
    // A READER finds the file as it is: it neither creates nor changes it, and does not wait
    // for a connection that holds it.
    enum class Role : std::uint8_t { WRITER, READER };

    explicit Database(const std::string &path, Role role = Role::WRITER);

    void execute(const char *sql);
    [[nodiscard]] sqlite3 *get() const { return handle_.get(); }

  private:
    static void close(sqlite3 *handle);
    std::unique_ptr<sqlite3, Deleter<close>> handle_;
};

// A prepared statement of one database, which can be run any number of times. Parameters and
// columns count from 0.
class Statement {
  public:
    Statement(const Database &database, const std::string &sql);

    void bind(int parameter, std::int64_t number);
    // The text must live until the statement is reset.
    void bind(int parameter, std::string_view text);
    void bindBytes(int parameter, std::string_view bytes);
    void bind(int parameter, const MetadataValue &value);

    // True: there is a row; false: the statement is done.
    bool step();
    [[nodiscard]] MetadataValue column(int column) const;
    [[nodiscard]] std::int64_t number(int column) const;

    // Makes it ready to run again.
    void reset();

  private:
    static void finalize(sqlite3_stmt *statement);
    void check(int code) const;
    std::unique_ptr<sqlite3_stmt, Deleter<finalize>> statement_;
};

} // namespace mrb
