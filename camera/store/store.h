#pragma once

#include "camera/base/signal.h"

#include <functional>
#include <map>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;

namespace camera
{

/** One pair of the configuration. */
struct Setting {
    std::string key;
    std::string value;
    bool operator==(const Setting &) const = default;
};

/** The store's file cannot be opened, read or written. Nothing of the failed change was kept. */
class StoreError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

/**
 * The camera's settings: names with text values, kept in an SQLite file and, for reading, in memory.
 *
 * A change is one transaction: all of it is in the file, and survives the end of the process, before anybody is
 * told; or none of it is anywhere.
 */
class Store
{
  public:
    using Watcher = std::function<void(const Setting &)>;

    /** Opens the file, creates it when it is missing; throws StoreError. */
    explicit Store(const std::string &file);
    ~Store();

    /** The value of a key, or null when the store does not hold it. Valid until the key's next change. */
    [[nodiscard]] const std::string *find(std::string_view key) const;
    /** The value of a key; empty when the store does not hold it. */
    [[nodiscard]] const std::string &text(std::string_view key) const;
    /** The value as a decimal number; `otherwise` when it is missing or does not begin with one. */
    [[nodiscard]] int number(std::string_view key, int otherwise = 0) const;

    /** Whether the value begins with "1", as all that the settings switch have it. */
    [[nodiscard]] bool isOn(std::string_view key) const { return text(key).starts_with('1'); }

    /** Stores all settings in one transaction, then tells the watchers, in order. Throws StoreError. */
    void set(std::span<const Setting> settings);
    void set(std::string_view key, std::string_view value);
    /** Stores those settings whose key is not held yet, in one transaction, and tells nobody. Throws StoreError. */
    void addMissing(std::span<const Setting> settings);

    /**
     * Calls `watcher` whenever the key is set, to whatever value: a command such as "network_restart=1" is set to
     * the same value again and again. It is called after the change is stored and before the setter gets its
     * answer.
     */
    [[nodiscard]] Subscription watch(std::string key, Watcher watcher);
    /** The same for every key that begins with `prefix`. */
    [[nodiscard]] Subscription watchPrefix(std::string prefix, Watcher watcher);

  private:
    struct CloseDatabase {
        void operator()(sqlite3 *database) const;
    };

    void execute(const char *statement);
    void load();
    void write(std::span<const Setting> settings);

    std::unique_ptr<sqlite3, CloseDatabase> database_;
    std::map<std::string, std::string, std::less<>> settings_;
    Signal<const Setting &> changed_;
};

} // namespace camera
