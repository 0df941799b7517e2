#include "talk/mulaw.h"
#include "talk/speaker.h"
#include "talk/wav.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <getopt.h>
#include <random>
#include <string>

namespace
{

constexpr int EXIT_USAGE = 2;
constexpr char USAGE[] =
    "Usage: kelpa-talk [--host ADDRESS[:PORT]] [--user NAME:PASSWORD] FILE.wav\n"
    "Says a sound through a camera's speaker: WAV, uncompressed, mono, 8000 Hz, 8 or 16 bits.\n"
    "  --host  where the camera is (127.0.0.1) and its port (8080)\n"
    "  --user  an account of the camera, where it asks for one\n";

/** What the command line asks for. */
struct Options {
    talk::Speaker speaker;
    std::string file;
};

Options parseOptions(int argc, char **argv)
{
    const option known[] = {{"host", required_argument, nullptr, 'o'},
                            {"user", required_argument, nullptr, 'u'},
                            {"help", no_argument, nullptr, 'h'},
                            {}};
    Options options;
    std::string host = "127.0.0.1";
    for (int given = 0; (given = getopt_long(argc, argv, "", known, nullptr)) != -1;) {
        if (given == 'o') {
            host = optarg;
        } else if (given == 'u') {
            options.speaker.credentials = optarg;
        } else {
            fputs(USAGE, given == 'h' ? stdout : stderr);
            std::exit(given == 'h' ? EXIT_SUCCESS : EXIT_USAGE);
        }
    }
    if (argc - optind != 1) {
        fputs(USAGE, stderr);
        std::exit(EXIT_USAGE);
    }
    options.file = argv[optind];
    try {
        options.speaker.address = talk::parseAddress(host);
    } catch (const std::exception &error) {
        fprintf(stderr, "kelpa-talk: --host %s: %s\n", host.c_str(), error.what());
        std::exit(EXIT_USAGE);
    }
    return options;
}

/** A name that no other client will have: the camera gives the speaker to the name that was registered last. */
std::string makeClientName()
{
    char name[16];
    snprintf(name, sizeof name, "talk-%08x", std::random_device()());
    return name;
}

/** Runs `step`; false, with its error shown under `subject`, when it throws. */
template <class Step>
bool succeeds(const std::string &subject, Step step)
{
    try {
        step();
        return true;
    } catch (const std::exception &error) {
        fprintf(stderr, "kelpa-talk: %s: %s\n", subject.c_str(), error.what());
        return false;
    }
}

} // namespace

int main(int argc, char **argv)
{
    const Options options = parseOptions(argc, argv);
    std::string audio;
    if (!succeeds(options.file, [&] { audio = talk::encodeMuLaw(talk::readWavFile(options.file)); }))
        return EXIT_FAILURE;
    const std::string camera = talk::toText(options.speaker.address);
    printf("%s: %.1f s\n", options.file.c_str(), static_cast<double>(audio.size()) / talk::SAMPLE_RATE);
    fflush(stdout); // now, not when it has been said
    const std::string name = makeClientName();
    const bool said = succeeds(camera, [&] {
        talk::registerClient(options.speaker, name);
        talk::talk(options.speaker, name, audio);
    });
    return said ? EXIT_SUCCESS : EXIT_FAILURE;
}
