#include "camera/accounts/account_request.h"

#include "camera/accounts/accounts.h"

namespace camera
{

namespace
{

constexpr std::string_view PASSWORD_KEY = "&userpass=";
constexpr std::string_view GROUP_KEY = "&privilege=";

/** Takes `prefix` off the text's front; false when it does not stand there. */
bool take(std::string_view &text, std::string_view prefix)
{
    if (!text.starts_with(prefix))
        return false;
    text.remove_prefix(prefix.size());
    return true;
}

[[noreturn]] void refuse()
{
    throw AccountError("malformed request");
}

} // namespace

AccountRequest parseAccountRequest(std::string_view text)
{
    AccountRequest request{};
    if (take(text, "method=add&username="))
        request.method = AccountRequest::Method::Add;
    else if (take(text, "method=edit&username="))
        request.method = AccountRequest::Method::Edit;
    else if (take(text, "method=delete&username="))
        request.method = AccountRequest::Method::Delete;
    else
        refuse();

    if (request.method == AccountRequest::Method::Delete) {
        request.name = text;
        return request;
    }
    const size_t passwordAt = text.find(PASSWORD_KEY);
    const size_t groupAt = text.rfind(GROUP_KEY);
    if (passwordAt == std::string_view::npos || groupAt == std::string_view::npos ||
        groupAt < passwordAt + PASSWORD_KEY.size())
        refuse();
    request.name = text.substr(0, passwordAt);
    request.password = text.substr(passwordAt + PASSWORD_KEY.size(), groupAt - passwordAt - PASSWORD_KEY.size());
    request.group = text.substr(groupAt + GROUP_KEY.size());
    return request;
}

} // namespace camera
