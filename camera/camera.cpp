#include "camera/camera.h"

#include "camera/accounts/accounts.h"
#include "camera/base/root_folder.h"
#include "camera/store/factory_defaults.h"
#include "camera/supervisor/power_cycle.h"
#include "camera/supervisor/supervisor.h"
#include "camera/surroundings/neighbours.h"
#include "camera/web/web_server.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <cerrno>
#include <csignal>
#include <iostream>
#include <memory>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace camera
{

namespace asio = boost::asio;

namespace
{

/** Makes the factory accounts when the camera has none, and tells the password, once. */
AccountFiles openAccounts(const RootFolder &root)
{
    AccountFiles accounts(root.path("/etc"));
    if (!accounts.exist()) {
        const std::string password = randomPassword();
        accounts.create(password);
        std::cout << "kelpa-camera: new camera; log in as " << ADMIN_ACCOUNT << " with the password " << password
                  << std::endl;
    }
    return accounts;
}

std::string urlOf(const Options &options, unsigned short port)
{
    const bool ipv6 = options.address.find(':') != std::string::npos;
    return "http://" + (ipv6 ? "[" + options.address + "]" : options.address) + ":" + std::to_string(port);
}

FileDescriptor openListening(const Options &options)
{
    try {
        return listenAtAddress(options.address, options.port);
    } catch (const std::system_error &error) {
        throw std::runtime_error(std::string(error.what()) + "; choose another with --listen");
    }
}

/** All neighbours, in the order in which they are started; they are stopped in the reverse order. */
struct Neighbourhood {
    explicit Neighbourhood(Surroundings &around)
        : storeServer(makeStoreServer(around)), eventManager(makeEventManager(around)),
          sensors(makeSensors(around)), head(makePtzDaemon(around)), pictures(makePictureSource(around, *head)),
          streams(makeStreams(around, *pictures)), audioDecoder(makeAudioDecoder(around)),
          digitalIo(makeDigitalIo(around)), systemCommands(makeSystemCommands(around)),
          eventEngine(makeEventEngine(around, *pictures)), statePage(makeStatePage(around))
    {
    }

    std::unique_ptr<Neighbour> storeServer;
    std::unique_ptr<Neighbour> eventManager;
    std::unique_ptr<Neighbour> sensors;
    std::unique_ptr<PtzNeighbour> head;
    std::unique_ptr<PictureSource> pictures;
    std::unique_ptr<Neighbour> streams;
    std::unique_ptr<Neighbour> audioDecoder;
    std::unique_ptr<Neighbour> digitalIo;
    std::unique_ptr<Neighbour> systemCommands;
    std::unique_ptr<Neighbour> eventEngine;
    std::unique_ptr<Neighbour> statePage;
};

} // namespace

void runCamera(const Options &options)
{
    signal(SIGPIPE, SIG_IGN);
    if (access(options.daemon.c_str(), X_OK) != 0)
        throw std::system_error(errno, std::generic_category(), "the daemon " + options.daemon);
    // Everything that ends with the camera is taken down in the reverse of this order. The io_context comes late:
    // what still waits on it may use all that stands before it.
    RootFolder root(options.root);
    FileDescriptor listening = openListening(options);
    const unsigned short port = portOf(listening.get());
    const std::string url = urlOf(options, port);
    const AccountFiles accounts = openAccounts(root);
    Store store(root.path(STORE_FILE));
    powerOn(store);
    const CameraClock clock(store);

    asio::io_context io;
    Surroundings around{.io = io, .root = root, .store = store, .clock = clock};
    const Neighbourhood neighbours(around);
    Supervisor supervisor(around, {.program = options.daemon, .fair = options.fair, .verbose = options.verbose});
    WebServer server(around, std::move(listening),
                     options.authentication ? std::make_unique<Authenticator>(io, accounts) : nullptr);
    PowerCycle power(around, supervisor, server, [&] { return listenAtAddress(options.address, port); });

    asio::signal_set stopSignals(io, SIGINT, SIGTERM, SIGHUP);
    const std::function<void()> waitForStop = [&] {
        stopSignals.async_wait([&](const boost::system::error_code &error, int) {
            if (error)
                return;
            power.end();
            supervisor.stop([&] { io.stop(); });
            waitForStop(); // a second signal does not wait for a daemon that is busy
        });
    };
    waitForStop();

    supervisor.start([&] {
        std::cout << "kelpa-camera: listening on " << url << ", root " << root.folder()
                  << (options.authentication ? ", clients have to log in" : "") << std::endl;
    });
    io.run();
}

} // namespace camera
