#include "camera/store/store.h"

#include "camera/base/number.h"

#include <sqlite3.h>

namespace camera
{

namespace
{

struct FinalizeStatement {
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

[[noreturn]] void fail(sqlite3 *database, const char *what)
{
    throw StoreError(std::string("configuration store: ") + what + ": " + sqlite3_errmsg(database));
}

Statement prepare(sqlite3 *database, const char *text)
{
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(database, text, -1, &statement, nullptr) != SQLITE_OK)
        fail(database, text);
    return Statement(statement);
}

void bindText(sqlite3 *database, sqlite3_stmt *statement, int index, const std::string &text)
{
    if (sqlite3_bind_text(statement, index, text.data(), static_cast<int>(text.size()), SQLITE_STATIC) != SQLITE_OK)
        fail(database, "bind");
}

std::string columnText(sqlite3_stmt *statement, int column)
{
    const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(statement, column));
    return {text, static_cast<size_t>(sqlite3_column_bytes(statement, column))};
}

} // namespace

void Store::CloseDatabase::operator()(sqlite3 *database) const
{
    sqlite3_close(database);
}

Store::Store(const std::string &file)
{
    sqlite3 *database = nullptr;
    const int result = sqlite3_open(file.c_str(), &database);
    database_.reset(database);
    if (result != SQLITE_OK)
        fail(database, file.c_str());
    try {
        // With a write-ahead log a commit does not wait for the disk; the end of this process loses nothing.
        execute("PRAGMA journal_mode=WAL");
        execute("PRAGMA synchronous=NORMAL");
        execute("CREATE TABLE IF NOT EXISTS settings (key TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID");
        load();
    } catch (const StoreError &error) {
        throw StoreError(file + ": " + error.what() + "; to begin with the factory settings, remove it");
    }
}

Store::~Store() = default;

void Store::execute(const char *statement)
{
    if (sqlite3_exec(database_.get(), statement, nullptr, nullptr, nullptr) != SQLITE_OK)
        fail(database_.get(), statement);
}

void Store::load()
{
    const Statement select = prepare(database_.get(), "SELECT key, value FROM settings");
    int result = SQLITE_ROW;
    while ((result = sqlite3_step(select.get())) == SQLITE_ROW)
        settings_.insert_or_assign(columnText(select.get(), 0), columnText(select.get(), 1));
    if (result != SQLITE_DONE)
        fail(database_.get(), "read");
}

const std::string *Store::find(std::string_view key) const
{
    const auto found = settings_.find(key);
    return found == settings_.end() ? nullptr : &found->second;
}

const std::string &Store::text(std::string_view key) const
{
    static const std::string empty;
    const std::string *value = find(key);
    return value != nullptr ? *value : empty;
}

int Store::number(std::string_view key, int otherwise) const
{
    std::string_view value = text(key);
    return takeNumber(value).value_or(otherwise);
}

void Store::write(std::span<const Setting> settings)
{
    sqlite3 *const database = database_.get();
    execute("BEGIN IMMEDIATE");
    try {
        const Statement insert = prepare(database, "INSERT INTO settings (key, value) VALUES (?1, ?2) "
                                                   "ON CONFLICT (key) DO UPDATE SET value = excluded.value");
        for (const Setting &setting : settings) {
            bindText(database, insert.get(), 1, setting.key);
            bindText(database, insert.get(), 2, setting.value);
            if (sqlite3_step(insert.get()) != SQLITE_DONE)
                fail(database, "write");
            sqlite3_reset(insert.get());
        }
        execute("COMMIT");
    } catch (const StoreError &) {
        sqlite3_exec(database, "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
    for (const Setting &setting : settings)
        settings_.insert_or_assign(setting.key, setting.value);
}

void Store::set(std::span<const Setting> settings)
{
    if (settings.empty())
        return;
    write(settings);
    for (const Setting &setting : settings)
        changed_.emit(setting);
}

void Store::set(std::string_view key, std::string_view value)
{
    const Setting setting{std::string(key), std::string(value)};
    set({&setting, 1});
}

void Store::addMissing(std::span<const Setting> settings)
{
    std::vector<Setting> missing;
    for (const Setting &setting : settings)
        if (find(setting.key) == nullptr)
            missing.push_back(setting);
    if (!missing.empty())
        write(missing);
}

Subscription Store::watch(std::string key, Watcher watcher)
{
    return changed_.connect([key = std::move(key), watcher = std::move(watcher)](const Setting &setting) {
        if (setting.key == key)
            watcher(setting);
    });
}

Subscription Store::watchPrefix(std::string prefix, Watcher watcher)
{
    return changed_.connect([prefix = std::move(prefix), watcher = std::move(watcher)](const Setting &setting) {
        if (setting.key.starts_with(prefix))
            watcher(setting);
    });
}

} // namespace camera
