#include "metadata/cache.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "base/log.h"
#include "metadata/cache_layout.h"
#include "metadata/database.h"

namespace mrb {
namespace {

constexpr std::size_t MOST_RECENT = 1024;

std::string variable(const char *name) {
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

// One text for a key, for looking it up in memory.
std::string textOf(const MediaKey &key) {
    std::string text = key.volume;
    text.append(1, '\0').append(key.path).append(1, '\0');
    return text.append(std::to_string(key.size)).append(1, '/').append(std::to_string(key.modified));
}

void bindKey(Statement &statement, const MediaKey &key) {
    statement.bind(0, std::string_view(key.volume));
    statement.bindBytes(1, key.path);
    statement.bind(2, key.size);
    statement.bind(3, key.modified);
}

// Ends a statement's run however the work with it ends.
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

struct MetadataCache::Connection {
    explicit Connection(const std::string &path) : database(path) {
        for (const char *setting : CACHE_SETTINGS) {
            database.execute(setting);
        }
        database.execute(sqlOfTables().c_str());
        findFacts.emplace(database, sqlOfFindFacts());
        findWritten.emplace(database, sqlOfFindWritten());
        storeFacts.emplace(database, sqlOfStoreFacts());
        dropWritten.emplace(database, sqlOfDropWritten());
        storeWritten.emplace(database, sqlOfStoreWritten());
        fileVersion.emplace(database, "PRAGMA data_version");
    }

    Database database;
    std::optional<Statement> findFacts;
    std::optional<Statement> findWritten;
    std::optional<Statement> storeFacts;
    std::optional<Statement> dropWritten;
    std::optional<Statement> storeWritten;
    std::optional<Statement> fileVersion;
};

MetadataCache::MetadataCache(std::string folder) : folder_(std::move(folder)) {}

MetadataCache::~MetadataCache() = default;

std::string MetadataCache::folderOfEnvironment() {
    if (std::string folder = variable("MRB_CACHE_FOLDER"); !folder.empty()) {
        return folder;
    }
    // A relative path there is to be ignored, says the XDG base directory standard.
    if (const std::string folder = variable("XDG_CACHE_HOME"); folder.starts_with('/')) {
        return folder + "/mrb";
    }
    const std::string home = variable("HOME");
    return home.starts_with('/') ? home + "/.cache/mrb" : "";
}

void MetadataCache::open() {
    if (connection_) {
        return;
    }
    recent_.clear();
    isOnDisk_ = false;
    if (!folder_.empty()) {
        try {
            openFile();
            isOnDisk_ = true;
            return;
        } catch (const DatabaseError &failure) {
            MRB_LOG_WARNING("Metadata are kept in memory only, %s cannot be used: %s", folder_.c_str(),
                            failure.what());
        }
    }
    connection_ = std::make_unique<Connection>("");
}

// Of several processes, one at a time begins the file or sets it aside: SQLite does
// not wait for the others there. Let go with the descriptor; without a place to write
// to, there is nothing to be taken turns at.
Descriptor MetadataCache::takeTurn() const {
    Descriptor turn(::open((folder_ + "/lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (turn) {
        flock(turn.number(), LOCK_EX);
    }
    return turn;
}

void MetadataCache::openFile() {
    std::error_code ignored;
    std::filesystem::create_directories(folder_, ignored);
    const std::string path = folder_ + '/' + FILE_NAME;
    const Descriptor turn = takeTurn();
    try {
        connection_ = std::make_unique<Connection>(path);
    } catch (const DatabaseError &failure) {
        if (!failure.isDamage()) {
            throw;
        }
        setAside(failure.what());
        connection_ = std::make_unique<Connection>(path);
    }
    // Tells who is trusted with the names of somebody's files.
    chmod(path.c_str(), S_IRUSR | S_IWUSR);
}

// Moves the file out of the way, in this process's turn. Of several that find it
// damaged, one does, and the others must not move the new one.
void MetadataCache::setAside(const std::string &why) {
    connection_.reset();
    const std::string path = folder_ + '/' + FILE_NAME;
    try {
        const Connection already(path);
        Statement check(already.database, "PRAGMA quick_check(1)");
        if (check.step() && std::get<std::string>(check.column(0)) == "ok") {
            return;
        }
    } catch (const std::exception &) { // NOLINT(bugprone-empty-catch): it is damaged, as we were told
    }
    const std::string aside = path + ".damaged";
    if (std::rename(path.c_str(), aside.c_str()) == 0) {
        MRB_LOG_WARNING("The metadata cache %s is damaged (%s); it is now %s, and a new one is begun.",
                        path.c_str(), why.c_str(), aside.c_str());
    }
    for (const char *companion : {"-wal", "-shm", "-journal"}) {
        std::remove((path + companion).c_str());
    }
}

// Runs `work` with the database open; once more with a new one when the old turns
// out to be damaged. With the lock held.
template <typename Work>
auto MetadataCache::withConnection(Work &&work) {
    open();
    try {
        return work();
    } catch (const DatabaseError &failure) {
        if (!isOnDisk_ || !failure.isDamage()) {
            throw;
        }
        {
            const Descriptor turn = takeTurn();
            setAside(failure.what());
        }
        open();
    }
    return work();
}

void MetadataCache::forgetIfChanged() {
    if (!isOnDisk_) {
        return;
    }
    Statement &statement = *connection_->fileVersion;
    const Run run(statement);
    const std::int64_t version = statement.step() ? statement.number(0) : 0;
    if (version != version_) {
        version_ = version;
        recent_.clear();
    }
}

std::shared_ptr<const MediaRecord> MetadataCache::find(const MediaKey &key) {
    const std::lock_guard guard(lock_);
    try {
        return withConnection([&] { return read(key); });
    } catch (const DatabaseError &failure) {
        MRB_LOG_WARNING("The metadata cache cannot be read: %s", failure.what());
        return std::make_shared<MediaRecord>();
    }
}

std::shared_ptr<const MediaRecord> MetadataCache::read(const MediaKey &key) {
    forgetIfChanged();
    const std::string text = textOf(key);
    if (const auto found = recent_.find(text); found != recent_.end()) {
        return found->second;
    }
    auto record = std::make_shared<MediaRecord>();
    {
        Statement &statement = *connection_->findFacts;
        const Run run(statement);
        bindKey(statement, key);
        if (statement.step()) {
            record->isRead = true;
            for (std::size_t fact = 0; fact < FACTS; ++fact) {
                record->facts.set(static_cast<Fact>(fact), statement.column(static_cast<int>(fact)));
            }
        }
    }
    {
        Statement &statement = *connection_->findWritten;
        const Run run(statement);
        bindKey(statement, key);
        while (statement.step()) {
            if (const FactValue name = statement.column(0); std::holds_alternative<std::string>(name)) {
                record->written.insert_or_assign(std::get<std::string>(name), statement.column(1));
            }
        }
    }
    if (recent_.size() >= MOST_RECENT) {
        recent_.clear();
    }
    recent_.insert_or_assign(text, record);
    return record;
}

void MetadataCache::store(std::span<const std::pair<MediaKey, Metadata>> files) {
    if (files.empty()) {
        return;
    }
    const std::lock_guard guard(lock_);
    try {
        withConnection([&] {
            connection_->database.execute("BEGIN IMMEDIATE");
            try {
                for (const auto &[key, facts] : files) {
                    Statement &statement = *connection_->storeFacts;
                    const Run run(statement);
                    bindKey(statement, key);
                    for (std::size_t fact = 0; fact < FACTS; ++fact) {
                        statement.bind(static_cast<int>(fact) + KEY_COLUMNS, facts[static_cast<Fact>(fact)]);
                    }
                    statement.step();
                    recent_.erase(textOf(key));
                }
                connection_->database.execute("COMMIT");
            } catch (const DatabaseError &) {
                // Some failures have rolled it back already.
                try {
                    connection_->database.execute("ROLLBACK");
                } catch (const DatabaseError &) { // NOLINT(bugprone-empty-catch): the first one tells
                }
                throw;
            }
        });
    } catch (const DatabaseError &failure) {
        MRB_LOG_WARNING("Metadata of %zu files are not kept: %s", files.size(), failure.what());
        if (failure.isFull()) {
            dropFacts();
        }
    }
}

// All of them can be read again from the files; what clients wrote stays.
void MetadataCache::dropFacts() noexcept {
    try {
        connection_->database.execute(sqlOfDropFacts().c_str());
    } catch (const std::exception &failure) {
        MRB_LOG_WARNING("The metadata cache cannot be emptied: %s", failure.what());
    }
}

Outcome MetadataCache::write(const MediaKey &key, const WrittenFields &fields) {
    const std::lock_guard guard(lock_);
    try {
        return withConnection([&]() -> Outcome {
            if (!isOnDisk_) {
                return {MRB_ERR_PERMISSION_DENIED,
                        "Fields are not written: there is no folder to keep them in."};
            }
            {
                // Of a file that was another one when they were written.
                Statement &statement = *connection_->dropWritten;
                const Run run(statement);
                bindKey(statement, key);
                statement.step();
            }
            for (const auto &[name, value] : fields) {
                Statement &statement = *connection_->storeWritten;
                const Run run(statement);
                bindKey(statement, key);
                statement.bind(KEY_COLUMNS, std::string_view(name));
                statement.bind(KEY_COLUMNS + 1, value);
                statement.step();
            }
            recent_.erase(textOf(key));
            return {};
        });
    } catch (const DatabaseError &failure) {
        return {MRB_ERR_IO, std::string("A field cannot be kept: ") + failure.what()};
    }
}

void MetadataCache::close() {
    const std::lock_guard guard(lock_);
    connection_.reset();
    recent_.clear();
}

} // namespace mrb
