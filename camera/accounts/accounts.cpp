#include "camera/accounts/accounts.h"

#include "camera/base/control_characters.h"
#include "camera/base/file_descriptor.h"
#include "camera/base/files.h"

#include <algorithm>
#include <cerrno>
#include <crypt.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/file.h>
#include <sys/random.h>
#include <system_error>

namespace camera
{

namespace
{

constexpr std::string_view GROUPS[] = {GROUP_ADMIN, GROUP_OPERATOR, GROUP_VIEW};
constexpr size_t MAX_USER_NAME = 64;
constexpr size_t MAX_PASSWORD = 63;
constexpr int FIRST_UID = 1000;
constexpr int FIRST_GID = 100;

using Fields = std::vector<std::string>;

Fields split(std::string_view text, char separator)
{
    Fields fields;
    for (size_t end = 0; end != std::string_view::npos; text.remove_prefix(std::min(text.size(), end + 1))) {
        end = text.find(separator);
        fields.emplace_back(text.substr(0, end));
    }
    return fields;
}

std::string join(const Fields &fields, char separator)
{
    std::string text;
    for (size_t i = 0; i < fields.size(); ++i) {
        if (i > 0)
            text += separator;
        text += fields[i];
    }
    return text;
}

/** One of the three files: lines of fields, the first field being the name. */
class Table
{
  public:
    Table() = default;
    explicit Table(std::string_view text)
    {
        for (const std::string &line : split(text, '\n'))
            if (!line.empty())
                lines_.push_back(split(line, ':'));
    }

    /** The line of that name, or null when there is none with at least `fields` fields. */
    Fields *find(std::string_view name, size_t fields)
    {
        const auto found = std::ranges::find_if(
            lines_, [&](const Fields &line) { return line.front() == name && line.size() >= fields; });
        return found == lines_.end() ? nullptr : &*found;
    }

    void add(Fields line) { lines_.push_back(std::move(line)); }
    void remove(std::string_view name)
    {
        std::erase_if(lines_, [&](const Fields &line) { return line.front() == name; });
    }
    std::vector<Fields> &lines() { return lines_; }

    std::string text() const
    {
        std::string text;
        for (const Fields &line : lines_)
            text.append(join(line, ':')).append("\n");
        return text;
    }

  private:
    std::vector<Fields> lines_;
};

/** passwd(5): name, password, uid, gid, comment, home, shell. */
constexpr size_t PASSWD_FIELDS = 7;
constexpr size_t PASSWD_UID = 2;
constexpr size_t PASSWD_GID = 3;
/** group(5): name, password, gid, members. */
constexpr size_t GROUP_FIELDS = 4;
constexpr size_t GROUP_GID = 2;
constexpr size_t GROUP_MEMBERS = 3;
/** shadow(5): name, hash and seven more that are empty. */
constexpr size_t SHADOW_HASH = 1;

struct Tables {
    Table passwd;
    Table group;
    Table shadow;
};

Tables readTables(const std::string &folder)
{
    return {Table(readFile(folder + "/passwd")), Table(readFile(folder + "/group")),
            Table(readFile(folder + "/shadow"))};
}

void setMembership(Table &groups, std::string_view name, std::string_view group)
{
    for (const std::string_view known : GROUPS) {
        Fields *line = groups.find(known, GROUP_FIELDS);
        if (line == nullptr)
            continue;
        Fields members = split((*line)[GROUP_MEMBERS], ',');
        std::erase_if(members, [&](const std::string &member) { return member == name || member.empty(); });
        if (known == group)
            members.emplace_back(name);
        (*line)[GROUP_MEMBERS] = join(members, ',');
    }
}

const std::string &groupId(Table &groups, std::string_view group)
{
    const Fields *line = std::ranges::count(GROUPS, group) > 0 ? groups.find(group, GROUP_FIELDS) : nullptr;
    if (line == nullptr)
        throw AccountError("unknown group");
    return (*line)[GROUP_GID];
}

std::string freeUid(Table &passwd)
{
    int uid = FIRST_UID;
    const auto taken = [&](const Fields &line) {
        return line.size() > PASSWD_UID && line[PASSWD_UID] == std::to_string(uid);
    };
    while (std::ranges::any_of(passwd.lines(), taken))
        ++uid;
    return std::to_string(uid);
}

void checkName(std::string_view name)
{
    // ":" ends a field of the files, "," a member of a group, and "/" would lead out of a folder named after a
    // user.
    if (name.empty() || name.size() > MAX_USER_NAME || holdsControlCharacter(name) ||
        name.find_first_of(":,/") != std::string_view::npos || name.front() == '-' || name.front() == ' ' ||
        name.back() == ' ')
        throw AccountError("malformed user name");
}

void checkPassword(std::string_view password)
{
    if (password.empty() || password.size() > MAX_PASSWORD || holdsControlCharacter(password))
        throw AccountError("malformed password");
}

/** Makes one change: reads the files, lets `change` work on them, writes them back, all under the lock. */
template <class Change>
void update(const std::string &folder, Change change)
{
    const FileDescriptor lock(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!lock.valid() || flock(lock.get(), LOCK_EX) != 0)
        throw std::system_error(errno, std::generic_category(), folder);
    Tables tables = readTables(folder);
    change(tables);
    // An account is what "passwd" lists: it comes last, so that nobody is listed whose password is not there yet.
    replaceFile(folder + "/shadow", tables.shadow.text(), 0600);
    replaceFile(folder + "/group", tables.group.text(), 0644);
    replaceFile(folder + "/passwd", tables.passwd.text(), 0644);
}

void putAccount(Tables &tables, std::string_view name, std::string_view password, std::string_view group,
                const std::string &uid)
{
    const std::string gid = groupId(tables.group, group);
    tables.passwd.remove(name);
    tables.passwd.add({std::string(name), "x", uid, gid, "", "/", "/bin/false"});
    tables.shadow.remove(name);
    tables.shadow.add({std::string(name), hashPassword(password), "", "", "", "", "", "", ""});
    setMembership(tables.group, name, group);
}

/** The account's line, if it is an account of the camera: one whose group is one of the camera's. */
const Fields *findAccount(Tables &tables, std::string_view name, std::string_view *group = nullptr)
{
    const Fields *line = tables.passwd.find(name, PASSWD_FIELDS);
    for (const std::string_view known : GROUPS) {
        const Fields *groupLine = tables.group.find(known, GROUP_FIELDS);
        if (line == nullptr || groupLine == nullptr || (*line)[PASSWD_GID] != (*groupLine)[GROUP_GID])
            continue;
        if (group != nullptr)
            *group = known;
        return line;
    }
    return nullptr;
}

} // namespace

bool AccountFiles::exist() const
{
    return std::filesystem::exists(folder_ + "/passwd") && std::filesystem::exists(folder_ + "/group") &&
           std::filesystem::exists(folder_ + "/shadow");
}

void AccountFiles::create(std::string_view adminPassword) const
{
    Table group;
    int gid = FIRST_GID;
    for (const std::string_view name : GROUPS)
        group.add({std::string(name), "x", std::to_string(gid++), ""});
    replaceFile(folder_ + "/shadow", "", 0600);
    replaceFile(folder_ + "/group", group.text(), 0644);
    replaceFile(folder_ + "/passwd", "", 0644);
    add(ADMIN_ACCOUNT, adminPassword, GROUP_ADMIN);
}

std::optional<Account> AccountFiles::find(std::string_view name) const
{
    Tables tables = readTables(folder_);
    std::string_view group;
    const Fields *line = findAccount(tables, name, &group);
    const Fields *shadow = tables.shadow.find(name, SHADOW_HASH + 1);
    if (line == nullptr || shadow == nullptr)
        return std::nullopt;
    return Account{line->front(), std::string(group), (*shadow)[SHADOW_HASH]};
}

void AccountFiles::add(std::string_view name, std::string_view password, std::string_view group) const
{
    checkName(name);
    checkPassword(password);
    if (name == ADMIN_ACCOUNT && group != GROUP_ADMIN)
        throw AccountError("the admin account belongs to the admin group");
    update(folder_, [&](Tables &tables) {
        if (tables.passwd.find(name, 1) != nullptr)
            throw AccountError("the user exists");
        putAccount(tables, name, password, group, freeUid(tables.passwd));
    });
}

void AccountFiles::edit(std::string_view name, std::string_view password, std::string_view group) const
{
    checkName(name);
    checkPassword(password);
    if (name == ADMIN_ACCOUNT && group != GROUP_ADMIN)
        throw AccountError("the admin account belongs to the admin group");
    update(folder_, [&](Tables &tables) {
        const Fields *line = findAccount(tables, name);
        if (line == nullptr)
            throw AccountError("no such user");
        putAccount(tables, name, password, group, std::string((*line)[PASSWD_UID]));
    });
}

void AccountFiles::remove(std::string_view name) const
{
    checkName(name);
    if (name == ADMIN_ACCOUNT)
        throw AccountError("the admin account cannot be deleted");
    update(folder_, [&](Tables &tables) {
        if (findAccount(tables, name) == nullptr)
            throw AccountError("no such user");
        tables.passwd.remove(name);
        tables.shadow.remove(name);
        setMembership(tables.group, name, {});
    });
}

std::string hashPassword(std::string_view password)
{
    // A null prefix asks crypt(5) for the best method that the library has, a null seed for a random salt.
    char salt[CRYPT_GENSALT_OUTPUT_SIZE];
    const auto data = std::make_unique<crypt_data>();
    const char *hash = nullptr;
    if (crypt_gensalt_rn(nullptr, 0, nullptr, 0, salt, sizeof salt) != nullptr)
        hash = crypt_r(std::string(password).c_str(), salt, data.get());
    if (hash == nullptr || hash[0] == '*')
        throw std::system_error(errno, std::generic_category(), "crypt");
    return hash;
}

bool passwordMatches(std::string_view password, const std::string &hash)
{
    const auto data = std::make_unique<crypt_data>();
    const char *computed = crypt_r(std::string(password).c_str(), hash.c_str(), data.get());
    return computed != nullptr && computed[0] != '*' && computed == hash;
}

std::string randomPassword()
{
    // 32 letters and digits, none of which is easily taken for another: 12 of them are 60 bits.
    constexpr std::string_view LETTERS = "abcdefghijkmnpqrstuvwxyz23456789";
    static_assert(LETTERS.size() == 32);
    unsigned char random[12];
    if (getrandom(random, sizeof random, 0) != sizeof random)
        throw std::system_error(errno, std::generic_category(), "getrandom");
    std::string password;
    for (const unsigned char byte : random)
        password += LETTERS[byte % LETTERS.size()];
    return password;
}

} // namespace camera
