#include "tests/fakes/fake_store.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

namespace
{

constexpr std::string_view GET = "get NameValue 99 0\n";
constexpr std::string_view SET = "set NameValue 99 0 0\n";

/** The pieces between "&", empty ones left out. */
std::vector<std::string> splitPieces(std::string_view text)
{
    std::vector<std::string> pieces;
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, text.find('&'));
        if (!piece.empty())
            pieces.emplace_back(piece);
        text.remove_prefix(std::min(piece.size() + 1, text.size()));
    }
    return pieces;
}

} // namespace

FakeStore::FakeStore(const std::string &path, Settings settings)
    : state_{std::move(settings)}, endpoint_(path, [this](int connection) { serve(connection); })
{
}

FakeStore::~FakeStore()
{
    endpoint_.close();
    for (const std::string &complaint : state_.complaints)
        ADD_FAILURE() << complaint;
}

void FakeStore::set(const Settings &settings)
{
    for (const auto &[name, value] : settings)
        set(name, value);
}

std::string FakeStore::value(const std::string &name) const
{
    const Settings settings = all();
    const auto found = settings.find(name);
    return found != settings.end() ? found->second : "(none)";
}

std::vector<std::string> FakeStore::sets() const
{
    std::vector<std::string> sets;
    for (const std::string &request : requests())
        if (request.starts_with(SET))
            sets.push_back(request.substr(SET.size()));
    return sets;
}

std::string FakeStore::lastSet() const
{
    const std::vector<std::string> all = sets();
    return all.empty() ? "(none)" : all.back();
}

/** The fault that strikes this request. */
FakeStore::Fault FakeStore::takeFault()
{
    const Lock state = locked();
    if (state->fault.nth == 0)
        return state->fault;
    if (--state->fault.nth > 0)
        return {};
    return std::exchange(state->fault, Fault{});
}

void FakeStore::serve(int connection)
{
    const Fault fault = takeFault();
    if (fault.closeEarly)
        return;
    char bytes[65536];
    const ssize_t got = recv(connection, bytes, sizeof bytes, 0);
    if (got <= 0)
        return;
    std::string reply = replyTo(std::string(bytes, static_cast<size_t>(got)));
    if (fault.answer)
        reply = fault.answer(reply);
    send(connection, reply.data(), reply.size(), MSG_NOSIGNAL); // a client that is gone is its own affair
}

std::string FakeStore::replyTo(const std::string &request)
{
    const Lock state = locked();
    state->requests.push_back(request);
    std::string reply;
    if (request.starts_with(GET)) {
        for (std::string name : splitPieces(std::string_view(request).substr(GET.size()))) {
            if (name.ends_with('='))
                name.pop_back();
            if (const auto found = state->settings.find(name); found != state->settings.end())
                reply += name + "=" + found->second + "\n";
        }
        return reply;
    }
    if (!request.starts_with(SET)) {
        state->complaints.push_back("neither a get nor a set: " + request);
        return {};
    }
    for (const std::string &pair : splitPieces(std::string_view(request).substr(SET.size()))) {
        const size_t equals = pair.find('=');
        if (equals == std::string::npos)
            continue;
        state->settings[pair.substr(0, equals)] = pair.substr(equals + 1);
        reply += pair + "\n";
    }
    return reply.empty() ? "\n" : reply;
}
