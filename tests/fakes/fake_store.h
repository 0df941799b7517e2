#pragma once

#include "tests/fakes/unix_endpoint.h"

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

/**
 * The configuration store, on a thread. A "get" is answered with one line "name=value" per asked key that it holds,
 * in the order asked, a "set" with its pairs as lines or with a lone line feed when it held none.
 *
 * What it does not do: check names or values, keep anything beyond the object's life, answer several connections at
 * once, or act on what is set (a "network_restart=1" is stored like any other pair).
 */
class FakeStore
{
  public:
    using Settings = std::map<std::string, std::string>;

    /** Listens at `path`, the resolved place of "/tmp/configer". */
    FakeStore(const std::string &path, Settings settings);
    /** Fails the test when it was asked for what no store does. */
    ~FakeStore();
    FakeStore(const FakeStore &) = delete;
    FakeStore &operator=(const FakeStore &) = delete;

    void Set(const std::string &name, const std::string &value);
    void Set(const Settings &settings);
    void Remove(const std::string &name);
    /** The stored value; "(none)" for a name that is not there. */
    [[nodiscard]] std::string Value(const std::string &name) const;
    [[nodiscard]] Settings All() const;

    /** Every request since the start or ClearRequests, byte for byte. */
    [[nodiscard]] std::vector<std::string> Requests() const;
    /** The pairs of the last "set", "(none)" without one. */
    [[nodiscard]] std::string LastSet() const;
    /** The pairs of every "set" in order. */
    [[nodiscard]] std::vector<std::string> Sets() const;
    void ClearRequests();

    /* Faults. They last until Heal, or strike one request only when `nth` says which, counted from now as 1. */
    /** Closes without reading the request. */
    void CloseEarly(int nth = 0) { SetFault({nth, true, {}}); }
    /** Reads the request and closes. */
    void AnswerNothing(int nth = 0) { Answer("", nth); }
    /** Answers these bytes, whatever was asked. */
    void Answer(std::string_view bytes, int nth = 0)
    {
        SetFault({nth, false, [answer = std::string(bytes)](const auto &) { return answer; }});
    }
    /** Answers `length` bytes of the reply. */
    void CutAnswer(size_t length, int nth = 0)
    {
        SetFault({nth, false, [length](const auto &reply) { return reply.substr(0, length); }});
    }
    /** Runs `action` when a request has come, before it is answered: the client waits meanwhile. */
    void Before(std::function<void()> action, int nth = 0)
    {
        SetFault({nth, false, [run = std::move(action)](const auto &reply) { return run(), reply; }});
    }
    /** Answers late. */
    void DelayAnswer(std::chrono::milliseconds delay, int nth = 0)
    {
        Before([delay] { std::this_thread::sleep_for(delay); }, nth);
    }
    void Heal() { SetFault({}); }

    /** Waits until the daemon's connections are closed at this end too, for tests that count descriptors. */
    void WaitUntilIdle() const { m_endpoint.WaitUntilIdle(); }
    /** Nobody listens, until Listen. */
    void Refuse() { m_endpoint.Close(); }
    void Listen() { m_endpoint.Open(); }

  private:
    struct Fault {
        int nth = 0;
        bool closeEarly = false;
        std::function<std::string(const std::string &reply)> answer = {}; ///< what is sent instead of the reply
    };
    void SetFault(Fault fault);
    Fault TakeFault();
    void Serve(int connection);
    std::string Reply(const std::string &request);

    mutable std::mutex m_mutex;
    Settings m_settings;
    std::vector<std::string> m_requests;
    std::vector<std::string> m_complaints;
    Fault m_fault;
    UnixEndpoint m_endpoint;
};
