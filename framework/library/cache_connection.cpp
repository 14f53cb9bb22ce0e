#include "library/cache_connection.h"

#include "library/cache_layout.h"

namespace mrb {
namespace {

void bindKey(Statement &statement, const MediaKey &key) {
    statement.bind(0, std::string_view(key.volume));
    statement.bindBytes(1, key.path);
    statement.bind(2, key.size);
    statement.bind(3, key.modified);
}

// Resets a statement at the end of its scope.
class Run {
  public:
    explicit Run(Statement &statement) : statement_(statement) {}
    ~Run() { statement_.reset(); }
    Run(const Run &) = delete;
    Run &operator=(const Run &) = delete;

  private:
    Statement &statement_;
};

} // namespace

CacheConnection::CacheConnection(const std::string &path, Database::Role role) : database_(path, role) {
    if (role == Database::Role::WRITER) {
        for (const char *setting : CACHE_SETTINGS) {
            database_.execute(setting);
        }
        database_.execute(sqlOfTables().c_str());
        storeMetadata_.emplace(database_, sqlOfStoreMetadata());
        dropWritten_.emplace(database_, sqlOfDropWritten());
        storeWritten_.emplace(database_, sqlOfStoreWritten());
    }
    findMetadata_.emplace(database_, sqlOfFindMetadata());
    findWritten_.emplace(database_, sqlOfFindWritten());
    fileVersion_.emplace(database_, "PRAGMA data_version");
}

std::int64_t CacheConnection::version() {
    Statement &statement = *fileVersion_;
    const Run run(statement);
    return statement.step() ? statement.number(0) : 0;
}

MediaRecord CacheConnection::read(const MediaKey &key) {
    MediaRecord record;
    {
        Statement &statement = *findMetadata_;
        const Run run(statement);
        bindKey(statement, key);
        if (statement.step()) {
            record.isRead = true;
            for (std::size_t property = 0; property < METADATA_KEYS; ++property) {
                record.metadata.set(static_cast<MetadataKey>(property),
                                    statement.column(static_cast<int>(property)));
            }
        }
    }
    Statement &statement = *findWritten_;
    const Run run(statement);
    bindKey(statement, key);
    while (statement.step()) {
        if (const MetadataValue name = statement.column(0); std::holds_alternative<std::string>(name)) {
            record.written.insert_or_assign(std::get<std::string>(name), statement.column(1));
        }
    }
    return record;
}

template <typename Work>
void CacheConnection::inTransaction(Work &&work) {
    database_.execute("BEGIN IMMEDIATE");
    try {
        work();
        database_.execute("COMMIT");
    } catch (const DatabaseError &) {
        // Some failures have rolled the transaction back already.
        try {
            database_.execute("ROLLBACK");
        } catch (const DatabaseError &) { // NOLINT(bugprone-empty-catch): the first one is reported
        }
        throw;
    }
}

void CacheConnection::store(std::span<const FileMetadata> files) {
    inTransaction([&] {
        for (const auto &[key, metadata] : files) {
            Statement &statement = *storeMetadata_;
            const Run run(statement);
            bindKey(statement, key);
            for (std::size_t property = 0; property < METADATA_KEYS; ++property) {
                statement.bind(static_cast<int>(property) + KEY_COLUMNS,
                               metadata[static_cast<MetadataKey>(property)]);
            }
            statement.step();
        }
    });
}

void CacheConnection::write(const MediaKey &key, const WrittenFields &fields) {
    inTransaction([&] {
        {
            // Written for an earlier version of the file.
            Statement &statement = *dropWritten_;
            const Run run(statement);
            bindKey(statement, key);
            statement.step();
        }
        for (const auto &[name, value] : fields) {
            Statement &statement = *storeWritten_;
            const Run run(statement);
            bindKey(statement, key);
            statement.bind(KEY_COLUMNS, std::string_view(name));
            statement.bind(KEY_COLUMNS + 1, value);
            statement.step();
        }
    });
}

void CacheConnection::dropMetadata() { database_.execute(sqlOfDropMetadata().c_str()); }

bool CacheConnection::isSound() {
    Statement check(database_, "PRAGMA quick_check(1)");
    return check.step() && std::get<std::string>(check.column(0)) == "ok";
}

} // namespace mrb
