#include "tests/fakes/fake_store.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

namespace
{

constexpr std::string_view GET = "get NameValue 99 0\n";
constexpr std::string_view SET = "set NameValue 99 0 0\n";

/** The pieces between "&", empty ones left out. */
std::vector<std::string> SplitPieces(std::string_view text)
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
    : m_settings(std::move(settings)), m_endpoint(path, [this](int connection) { Serve(connection); })
{
}

FakeStore::~FakeStore()
{
    m_endpoint.Close();
    for (const std::string &complaint : m_complaints)
        ADD_FAILURE() << complaint;
}

void FakeStore::Set(const std::string &name, const std::string &value)
{
    const std::lock_guard lock(m_mutex);
    m_settings[name] = value;
}

void FakeStore::Set(const Settings &settings)
{
    for (const auto &[name, value] : settings)
        Set(name, value);
}

void FakeStore::Remove(const std::string &name)
{
    const std::lock_guard lock(m_mutex);
    m_settings.erase(name);
}

std::string FakeStore::Value(const std::string &name) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_settings.find(name);
    return found != m_settings.end() ? found->second : "(none)";
}

FakeStore::Settings FakeStore::All() const
{
    const std::lock_guard lock(m_mutex);
    return m_settings;
}

std::vector<std::string> FakeStore::Requests() const
{
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

std::vector<std::string> FakeStore::Sets() const
{
    std::vector<std::string> sets;
    for (const std::string &request : Requests())
        if (request.starts_with(SET))
            sets.push_back(request.substr(SET.size()));
    return sets;
}

std::string FakeStore::LastSet() const
{
    const std::vector<std::string> sets = Sets();
    return sets.empty() ? "(none)" : sets.back();
}

void FakeStore::ClearRequests()
{
    const std::lock_guard lock(m_mutex);
    m_requests.clear();
}

void FakeStore::SetFault(Fault fault)
{
    const std::lock_guard lock(m_mutex);
    m_fault = std::move(fault);
}

/** The fault that strikes this request. */
FakeStore::Fault FakeStore::TakeFault()
{
    const std::lock_guard lock(m_mutex);
    if (m_fault.nth == 0)
        return m_fault;
    if (--m_fault.nth > 0)
        return {};
    return std::exchange(m_fault, Fault{});
}

void FakeStore::Serve(int connection)
{
    const Fault fault = TakeFault();
    if (fault.closeEarly)
        return;
    char bytes[65536];
    const ssize_t got = recv(connection, bytes, sizeof bytes, 0);
    if (got <= 0)
        return;
    std::string reply = Reply(std::string(bytes, static_cast<size_t>(got)));
    if (fault.answer)
        reply = fault.answer(reply);
    send(connection, reply.data(), reply.size(), MSG_NOSIGNAL); // a client that is gone is its own affair
}

std::string FakeStore::Reply(const std::string &request)
{
    const std::lock_guard lock(m_mutex);
    m_requests.push_back(request);
    std::string reply;
    if (request.starts_with(GET)) {
        for (std::string name : SplitPieces(std::string_view(request).substr(GET.size()))) {
            if (name.ends_with('='))
                name.pop_back();
            if (const auto found = m_settings.find(name); found != m_settings.end())
                reply += name + "=" + found->second + "\n";
        }
        return reply;
    }
    if (!request.starts_with(SET)) {
        m_complaints.push_back("neither a get nor a set: " + request);
        return {};
    }
    for (const std::string &pair : SplitPieces(std::string_view(request).substr(SET.size()))) {
        const size_t equals = pair.find('=');
        if (equals == std::string::npos)
            continue;
        m_settings[pair.substr(0, equals)] = pair.substr(equals + 1);
        reply += pair + "\n";
    }
    return reply.empty() ? "\n" : reply;
}
