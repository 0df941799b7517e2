#include "camera/neighbours/store/store_protocol.h"

#include "camera/base/control_characters.h"

#include <algorithm>

namespace camera
{

namespace
{

constexpr std::string_view GET_HEADER = "get NameValue 99 0\n";
constexpr std::string_view SET_HEADER = "set NameValue 99 0 0\n";

template <class Take>
void forEachPiece(std::string_view text, Take take)
{
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, text.find('&'));
        text.remove_prefix(std::min(text.size(), piece.size() + 1));
        if (!piece.empty())
            take(piece);
    }
}

bool isKey(std::string_view text)
{
    return !text.empty() && std::ranges::all_of(text, [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    });
}

StoreRequest parseGet(std::string_view text)
{
    StoreGet request;
    forEachPiece(text, [&](std::string_view piece) {
        request.keys.emplace_back(piece.ends_with('=') ? piece.substr(0, piece.size() - 1) : piece);
    });
    return request;
}

StoreRequest parseSet(std::string_view text)
{
    StoreSet request;
    bool storable = true;
    forEachPiece(text, [&](std::string_view piece) {
        const size_t equals = piece.find('=');
        if (equals == std::string_view::npos)
            return;
        const std::string_view key = piece.substr(0, equals);
        const std::string_view value = piece.substr(equals + 1);
        storable = storable && isKey(key) && !holdsControlCharacter(value);
        request.settings.push_back({std::string(key), std::string(value)});
    });
    if (!storable)
        return StoreMalformed{};
    return request;
}

void appendLine(std::string &answer, std::string_view key, std::string_view value)
{
    answer.append(key).append("=").append(value).append("\n");
}

} // namespace

StoreRequest parseStoreRequest(std::string_view received)
{
    if (received.ends_with('\n') && received != GET_HEADER && received != SET_HEADER)
        received.remove_suffix(1); // a request typed by hand
    if (received.starts_with(GET_HEADER))
        return parseGet(received.substr(GET_HEADER.size()));
    if (received.starts_with(SET_HEADER))
        return parseSet(received.substr(SET_HEADER.size()));
    if (GET_HEADER.starts_with(received) || SET_HEADER.starts_with(received))
        return StoreIncomplete{};
    return StoreMalformed{};
}

std::string composeStoreAnswer(const Store &store, const StoreGet &request)
{
    std::string answer;
    for (const std::string &key : request.keys)
        if (const std::string *value = store.find(key))
            appendLine(answer, key, *value);
    return answer;
}

std::string composeStoreAnswer(const StoreSet &request)
{
    if (request.settings.empty())
        return "\n";
    std::string answer;
    for (const Setting &setting : request.settings)
        appendLine(answer, setting.key, setting.value);
    return answer;
}

} // namespace camera
