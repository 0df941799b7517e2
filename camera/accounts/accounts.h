#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace camera
{

/** The groups of the camera's users, the most powerful first. */
inline constexpr std::string_view GROUP_ADMIN = "admin";
inline constexpr std::string_view GROUP_OPERATOR = "operator";
inline constexpr std::string_view GROUP_VIEW = "view";

/** The account that always exists and always belongs to the group of the same name. */
inline constexpr std::string_view ADMIN_ACCOUNT = "admin";

/** A user, from the password, group and shadow files together. */
struct Account {
    std::string name;
    std::string group;
    std::string hash; ///< crypt(5) form
};

/** A change of the accounts that is refused; nothing was changed. */
class AccountError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

/**
 * The camera's accounts: the files "passwd", "group" and "shadow" of one folder, in the forms of passwd(5),
 * group(5) and shadow(5). Lines of others are left as they are.
 *
 * Every change is made under a lock of the folder, and each file is replaced in one step: a reader, in whatever
 * process, finds whole files, and no account without its password.
 */
class AccountFiles
{
  public:
    /** `folder` is the camera's "etc"; nothing is read yet. */
    explicit AccountFiles(std::string folder) : folder_(std::move(folder)) {}

    /** True when there are accounts at all, that is, when the files were made. */
    [[nodiscard]] bool exist() const;
    /** Makes the files anew, with the admin account alone. */
    void create(std::string_view adminPassword) const;

    /** The account of that name, with its group and hash. Throws std::system_error when a file cannot be read. */
    [[nodiscard]] std::optional<Account> find(std::string_view name) const;

    /*
     * Changes. AccountError: a malformed name or password, an unknown group, an account that exists (add) or does
     * not (the others), taking the admin account its group or its life. std::system_error: a file that cannot be
     * read or written.
     */
    void add(std::string_view name, std::string_view password, std::string_view group) const;
    void edit(std::string_view name, std::string_view password, std::string_view group) const;
    void remove(std::string_view name) const;

  private:
    std::string folder_;
};

/** Salted hash of a password, by the system's preferred method. Takes tens of milliseconds, on purpose. */
[[nodiscard]] std::string hashPassword(std::string_view password);
/** Whether the password belongs to the hash. As slow as hashPassword. Safe to call from any thread. */
[[nodiscard]] bool passwordMatches(std::string_view password, const std::string &hash);

/** A password for a new camera: random, and readable enough to be typed from a label. */
[[nodiscard]] std::string randomPassword();

} // namespace camera
