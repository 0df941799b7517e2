#pragma once

#include <string>
#include <string_view>

namespace camera
{

/**
 * What the account program is asked to do, in one of three forms:
 *
 *   method=add&username=NAME&userpass=PASSWORD&privilege=GROUP     (or method=edit)
 *   method=delete&username=NAME
 *
 * The texts are not encoded. A name holds no "&", but a password may hold anything, "&privilege=" included: the
 * group is what follows the last "&privilege=".
 */
struct AccountRequest {
    enum class Method { Add, Edit, Delete };

    Method method;
    std::string name;
    std::string password; ///< add and edit
    std::string group;    ///< add and edit
};

/** Reads a request; throws AccountError when it has none of the forms. */
[[nodiscard]] AccountRequest parseAccountRequest(std::string_view text);

} // namespace camera
