// kalviro view: the HTTP side. Binds 127.0.0.1 only; every request must carry
// the URL's token (as its query parameter or the cookie the page load sets)
// and name this server in Host and, when sent, Origin, so another site can
// neither read the data nor reach it by rebinding a name to 127.0.0.1. Only
// the input and the built-in page are served; nothing is written to disk.
#include <httplib.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <spawn.h>
#include <sys/random.h>
#include <sys/wait.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <future>
#include <thread>

#include "commands/caltype.hpp"
#include "commands/commands.hpp"
#include "convert/frame_source.hpp"
#include "convert/signals.hpp"
#include "frames/block_fields.hpp"
#include "frames/conversion_args.hpp"
#include "frames/failure.hpp"
#include "frames/le_bytes.hpp"
#include "outputs/palette.hpp"
#include "view/view_assets.hpp"
#include "view/view_command.hpp"
#include "view/view_series.hpp"
#include "view/view_store.hpp"

extern char** environ;

namespace kalviro::cli {

namespace {

// A long poll of the live page waits at most this long for a new frame.
constexpr int kWaitMilliseconds = 1000;
// Frames one series request may go through.
constexpr uint64_t kSeriesFrames = 1000000;

std::string randomToken() {
    uint8_t bytes[16];  // 128 bits
    size_t got = 0;
    while (got < sizeof bytes) {
        const ssize_t n = ::getrandom(bytes + got, sizeof bytes - got, 0);
        if (n < 0) {
            if (errno == EINTR) continue;
            throw Failure(std::string("no random numbers for the access token: ") + std::strerror(errno));
        }
        got += static_cast<size_t>(n);
    }
    std::string out;
    char buf[3];
    for (uint8_t b : bytes) {
        std::snprintf(buf, sizeof buf, "%02x", b);
        out += buf;
    }
    return out;
}

// Compares without stopping at the first difference: the time a refusal
// takes says nothing about the token.
bool sameSecret(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    unsigned char diff = 0;
    for (size_t i = 0; i < a.size(); ++i) diff |= static_cast<unsigned char>(a[i] ^ b[i]);
    return diff == 0;
}

std::string cookieValue(const std::string& header, const std::string& name) {
    size_t at = 0;
    while (at < header.size()) {
        while (at < header.size() && header[at] == ' ') ++at;
        const size_t end = std::min(header.find(';', at), header.size());
        const std::string pair = header.substr(at, end - at);
        if (pair.compare(0, name.size() + 1, name + "=") == 0) return pair.substr(name.size() + 1);
        at = end + 1;
    }
    return "";
}

uint64_t physicalMemory() {
    const long pages = ::sysconf(_SC_PHYS_PAGES), page = ::sysconf(_SC_PAGE_SIZE);
    if (pages <= 0 || page <= 0) return uint64_t{4} << 30;
    return static_cast<uint64_t>(pages) * static_cast<uint64_t>(page);
}

std::string mib(uint64_t bytes) { return std::to_string((bytes + (1u << 20) - 1) >> 20) + " MiB"; }

void openBrowser(const std::string& url) {
    if (std::getenv("DISPLAY") == nullptr && std::getenv("WAYLAND_DISPLAY") == nullptr) return;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    std::string prog = "xdg-open";
    char* argv[] = {prog.data(), const_cast<char*>(url.c_str()), nullptr};
    // The browser gets the signals the command takes on a thread of its own.
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attr, &none);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSIGMASK);
    pid_t pid = 0;
    if (::posix_spawnp(&pid, "xdg-open", &actions, &attr, argv, environ) == 0) {
        std::thread([pid] { ::waitpid(pid, nullptr, 0); }).detach();
    } else {
        std::fprintf(stderr, "kalviro: no browser opened (xdg-open not found): open the URL yourself\n");
    }
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attr);
}

extern "C" void wakeReader(int) {}

class Viewer {
public:
    Viewer(const ViewOptions& o, std::shared_ptr<Recording> rec, std::string source, bool live)
        : options_(o), rec_(std::move(rec)), source_(std::move(source)), live_(live), token_(randomToken()) {}

    int bind() {
        server_.set_pre_routing_handler([this](const httplib::Request& req, httplib::Response& res) {
            return admit(req, res) ? httplib::Server::HandlerResponse::Unhandled
                                   : httplib::Server::HandlerResponse::Handled;
        });
        server_.set_default_headers({{"Cache-Control", "no-store"},
                                     {"Referrer-Policy", "no-referrer"},
                                     {"X-Content-Type-Options", "nosniff"},
                                     {"X-Frame-Options", "DENY"},
                                     {"Content-Security-Policy",
                                      "default-src 'self'; img-src 'self' data: blob:; "
                                      "frame-ancestors 'none'"}});
        routes();
        // Not SO_REUSEPORT, which httplib sets by default: a second viewer
        // on a port in use must fail, not share it.
        server_.set_socket_options([](socket_t sock) {
            int yes = 1;
            ::setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        });
        if (options_.port != 0) {
            if (!server_.bind_to_port("127.0.0.1", options_.port))
                throw Failure("cannot listen on 127.0.0.1:" + std::to_string(options_.port) +
                              ": in use or not allowed");
            port_ = options_.port;
        } else {
            port_ = server_.bind_to_any_port("127.0.0.1");
            if (port_ <= 0) throw Failure("cannot listen on 127.0.0.1: no free port");
        }
        hosts_ = {"127.0.0.1:" + std::to_string(port_), "localhost:" + std::to_string(port_)};
        cookie_ = "kalviro_" + std::to_string(port_);
        return port_;
    }

    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/?token=" + token_; }
    void listen() { server_.listen_after_bind(); }
    void stop() { server_.stop(); }
    bool running() const { return server_.is_running(); }

private:
    bool admit(const httplib::Request& req, httplib::Response& res) {
        const auto refuse = [&](const char* why) {
            res.status = 403;
            res.set_content(std::string(why) + "\n", "text/plain");
            return false;
        };
        const std::string host = req.get_header_value("Host");
        if (host != hosts_[0] && host != hosts_[1]) return refuse("forbidden: foreign Host");
        if (req.has_header("Origin")) {
            const std::string origin = req.get_header_value("Origin");
            if (origin != "http://" + hosts_[0] && origin != "http://" + hosts_[1])
                return refuse("forbidden: foreign Origin");
        }
        const std::string given = req.has_param("token")
                                      ? req.get_param_value("token")
                                      : cookieValue(req.get_header_value("Cookie"), cookie_);
        if (!sameSecret(given, token_)) return refuse("forbidden: no valid token");
        return true;
    }

    // Digits only, few enough not to overflow: "x", "-1" and "1e3" are no numbers.
    static bool frameNumber(const std::string& text, uint64_t& n) {
        if (text.empty() || text.size() > 18) return false;
        n = 0;
        for (const char c : text) {
            if (c < '0' || c > '9') return false;
            n = n * 10 + static_cast<uint64_t>(c - '0');
        }
        return true;
    }

    static void fail(httplib::Response& res, int status, const std::string& why) {
        res.status = status;
        res.set_content(why + "\n", "text/plain");
    }

    // The frame a request names, or a 404 saying which frames are held.
    std::shared_ptr<const StoredFrame> wanted(const httplib::Request& req, httplib::Response& res) {
        uint64_t n = 0;
        std::shared_ptr<const StoredFrame> f;
        if (frameNumber(req.matches[1], n)) f = rec_->frame(n);
        if (!f) {
            const Recording::Span s = rec_->span();
            fail(res, 404,
                 "no frame " + std::string(req.matches[1]) + ": frames " + std::to_string(s.first) + " to " +
                     (s.end == 0 ? "none" : std::to_string(s.end - 1)) + " are held");
        }
        return f;
    }

    nlohmann::ordered_json info() const {
        const Recording::Span s = rec_->span();
        const CalTypeInfo& c = requireCalType(rec_->calType());
        nlohmann::ordered_json j;
        j["source"] = source_;
        j["live"] = live_;
        j["width"] = rec_->size().width;
        j["height"] = rec_->size().height;
        j["first"] = s.first;
        j["frames"] = s.end;
        j["dropped"] = s.dropped;
        j["complete"] = s.complete;
        j["ended"] = s.ended;
        j["calType"] = rec_->calType();
        j["layout"] = layoutName(c.layout);
        j["family"] = familyName(c.family);
        j["emissivity"] = shortestDouble(rec_->emissivity());
        j["distance"] = rec_->distance() ? nlohmann::ordered_json(*rec_->distance()) : nullptr;
        j["memoryBound"] = rec_->maxBytes();
        return j;
    }

    nlohmann::ordered_json blockJsonOf(const StoredFrame& f) const {
        const CalTypeInfo& c = requireCalType(rec_->calType());
        const uint8_t* b = blockBytes(f.settings);
        nlohmann::ordered_json j;
        j["frame"] = f.index;
        j["upTime"] = loadI32(b + offsetof(TempFrameInfo, upTime));
        j["centreGray"] =
            f.pixels[static_cast<size_t>(rec_->size().height / 2) * static_cast<size_t>(rec_->size().width) +
                     static_cast<size_t>(rec_->size().width / 2)];
        j["perFrame"] = shortestDouble(f.perFrame);
        j["getIT"] = c.hasGetIT ? nlohmann::ordered_json(f.camera.getIT(&f.settings)) : nullptr;
        nlohmann::ordered_json fields = nlohmann::ordered_json::array();
        char offset[8];
        for (const BlockField& field : blockFields(c.layout)) {
            std::snprintf(offset, sizeof offset, "0x%03x", field.offset);
            fields.push_back({{"offset", offset},
                              {"name", field.name},
                              {"value", fieldText(b, field)},
                              {"unit", field.unit},
                              {"meaning", field.meaning}});
        }
        j["fields"] = std::move(fields);
        j["block"] = blockJson(b, c.layout);
        return j;
    }

    static nlohmann::ordered_json palettesJson() {
        nlohmann::ordered_json j = nlohmann::ordered_json::object();
        const std::string names = paletteNames();
        size_t at = 0;
        while (at < names.size()) {
            const size_t end = std::min(names.find(", ", at), names.size());
            const std::string name = names.substr(at, end - at);
            at = end + 2;
            const Palette* p = findPalette(name);
            if (p == nullptr) continue;
            nlohmann::ordered_json colours = nlohmann::ordered_json::array();
            for (const Rgb& c : *p) {
                colours.push_back(c.r);
                colours.push_back(c.g);
                colours.push_back(c.b);
            }
            j[name] = std::move(colours);
        }
        return j;
    }

    // The shapes a request names, each key as often as wanted, in the
    // command's syntax; false after a 400 saying what is wrong.
    bool requestShapes(const httplib::Request& req, httplib::Response& res, std::vector<Area>& shapes) const {
        try {
            for (const ShapeWord& w : kShapeWords) {
                const size_t n = req.get_param_value_count(w.word);
                for (size_t i = 0; i < n; ++i)
                    shapes.push_back(parseViewShape(w, req.get_param_value(w.word, i), i + 1, rec_->size()));
            }
            requireDistinctNames(shapes);
        } catch (const Failure& e) {
            fail(res, 400, e.what());
            return false;
        }
        return true;
    }

    void routes() {
        server_.Get("/", [this](const httplib::Request& req, httplib::Response& res) {
            if (req.has_param("token")) {
                res.set_header("Set-Cookie", cookie_ + "=" + token_ + "; HttpOnly; SameSite=Strict; Path=/");
            }
            serveAsset("/index.html", res);
        });
        server_.Get(R"(/([a-z]+\.(?:html|js|css)))",
                    [this](const httplib::Request& req, httplib::Response& res) {
                        serveAsset("/" + std::string(req.matches[1]), res);
                    });
        server_.Get("/api/info", [this](const httplib::Request&, httplib::Response& res) {
            res.set_content(info().dump(), "application/json");
        });
        server_.Get("/api/palettes", [](const httplib::Request&, httplib::Response& res) {
            static const std::string text = palettesJson().dump();
            res.set_content(text, "application/json");
        });
        // The live page's long poll: returns the info once a frame past
        // `after` is held, reading has ended, or a second has passed.
        server_.Get("/api/wait", [this](const httplib::Request& req, httplib::Response& res) {
            uint64_t after = 0;
            if (!frameNumber(req.get_param_value("after"), after)) return fail(res, 400, "give after=N");
            rec_->waitPast(after, kWaitMilliseconds);
            res.set_content(info().dump(), "application/json");
        });
        server_.Get(R"(/api/frame/(\d+))", [this](const httplib::Request& req, httplib::Response& res) {
            const std::shared_ptr<const StoredFrame> f = wanted(req, res);
            if (!f) return;
            const Temps t = rec_->temps(f->index);
            std::string body(t->size() * 4, '\0');
            auto* out = reinterpret_cast<uint8_t*>(body.data());
            for (size_t i = 0; i < t->size(); ++i) storeF32(out + 4 * i, (*t)[i]);
            res.set_content(std::move(body), "application/octet-stream");
        });
        server_.Get(R"(/api/frame/(\d+)/gray)", [this](const httplib::Request& req, httplib::Response& res) {
            const std::shared_ptr<const StoredFrame> f = wanted(req, res);
            if (!f) return;
            std::string body(f->pixels.size() * 2, '\0');
            for (size_t i = 0; i < f->pixels.size(); ++i) {
                body[2 * i] = static_cast<char>(f->pixels[i] & 0xff);
                body[2 * i + 1] = static_cast<char>(f->pixels[i] >> 8);
            }
            res.set_content(std::move(body), "application/octet-stream");
        });
        server_.Get(R"(/api/frame/(\d+)/block)", [this](const httplib::Request& req, httplib::Response& res) {
            const std::shared_ptr<const StoredFrame> f = wanted(req, res);
            if (!f) return;
            if (req.get_param_value("format") == "raw") {
                res.set_content(std::string(reinterpret_cast<const char*>(blockBytes(f->settings)), 512),
                                "application/octet-stream");
                return;
            }
            res.set_content(blockJsonOf(*f).dump(), "application/json");
        });
        server_.Get("/api/series", [this](const httplib::Request& req, httplib::Response& res) {
            std::vector<Area> shapes;
            if (!requestShapes(req, res, shapes)) return;
            const Recording::Span s = rec_->span();
            uint64_t first = s.first, end = s.end;
            if (req.has_param("from") && !frameNumber(req.get_param_value("from"), first))
                return fail(res, 400, "bad from");
            if (req.has_param("to") && !frameNumber(req.get_param_value("to"), end))
                return fail(res, 400, "bad to");
            first = std::max(first, s.first);
            end = std::min(end, s.end);
            if (end < first) end = first;
            end = std::min(end, first + kSeriesFrames);
            res.set_content(seriesJson(*rec_, shapes, first, end).dump(), "application/json");
        });
        // The pixels of one shape, as frame indices (uint32 little-endian):
        // the page counts them as the command does without doing it again.
        server_.Get("/api/pixels", [this](const httplib::Request& req, httplib::Response& res) {
            std::vector<Area> shapes;
            if (!requestShapes(req, res, shapes)) return;
            if (shapes.size() != 1) return fail(res, 400, "give one shape");
            std::string body(shapes[0].pixels.size() * 4, '\0');
            auto* out = reinterpret_cast<uint8_t*>(body.data());
            for (size_t i = 0; i < shapes[0].pixels.size(); ++i) storeU32(out + 4 * i, shapes[0].pixels[i]);
            res.set_content(std::move(body), "application/octet-stream");
        });
        // The frames held, as the raw file they came in: a live stream can
        // be kept from the browser.
        server_.Get("/api/recording", [this](const httplib::Request&, httplib::Response& res) {
            const Recording::Span s = rec_->span();
            const uint64_t bytes = rec_->size().frameBytes();
            res.set_header("Content-Disposition", "attachment; filename=\"recording.raw\"");
            res.set_content_provider(
                static_cast<size_t>((s.end - s.first) * bytes), "application/octet-stream",
                [this, s, bytes](size_t offset, size_t, httplib::DataSink& sink) {
                    const uint64_t index = s.first + offset / bytes;
                    const std::shared_ptr<const StoredFrame> f = rec_->frame(index);
                    if (!f) return false;  // dropped meanwhile: the download stops short
                    std::string frame(static_cast<size_t>(bytes), '\0');
                    for (size_t i = 0; i < f->pixels.size(); ++i) {
                        frame[2 * i] = static_cast<char>(f->pixels[i] & 0xff);
                        frame[2 * i + 1] = static_cast<char>(f->pixels[i] >> 8);
                    }
                    std::memcpy(&frame[f->pixels.size() * 2], blockBytes(f->settings), 512);
                    return sink.write(frame.data(), frame.size());
                });
        });
    }

    void serveAsset(const std::string& path, httplib::Response& res) {
        for (size_t i = 0; i < kViewAssetCount; ++i) {
            if (path == kViewAssets[i].path) {
                res.set_content(reinterpret_cast<const char*>(kViewAssets[i].data), kViewAssets[i].size,
                                kViewAssets[i].type);
                return;
            }
        }
        fail(res, 404, "not found");
    }

    const ViewOptions& options_;
    std::shared_ptr<Recording> rec_;
    std::string source_;
    bool live_;
    std::string token_;
    std::string cookie_;
    std::vector<std::string> hosts_;
    int port_ = 0;
    httplib::Server server_;
};

}  // namespace

Subcommand addViewCommand(CLI::App& app) {
    auto o = std::make_shared<ViewOptions>();
    auto* cmd = app.add_subcommand(
        "view", "a recording or live stream in the browser: temperature under the cursor, regions, plots");
    cmd->add_option(
           "FILE", o->file,
           "raw frame file or sequence, or a --counts archive; - for a live stream on standard input")
        ->required();
    cmd->add_option("--caltype", o->calType, "the camera's CalType")->required();
    addSizeOption(cmd, o->size);
    cmd->add_option("-e,--emissivity", o->emissivity, "emissivity of the object, above 0 and at most 1")
        ->capture_default_str();
    cmd->add_option("-d,--distance", o->distance, "object distance in metres, in place of the block's");
    cmd->add_option("--port", o->port, "port on 127.0.0.1; a free one by default")
        ->check(CLI::Range(1, 65535));
    cmd->add_flag("--no-browser", o->noBrowser, "only print the URL");
    cmd->add_option(
        "--memory", o->memoryMiB,
        "MiB of frames held; by default half the memory: a stream past it keeps its newest frames");
    // Ctrl-C is the viewer's usual end.
    return {cmd, [o] { runView(*o); }, true};
}

void runView(const ViewOptions& o) {
    requireCalType(o.calType);
    const float emissivity = checkEmissivity(o.emissivity);
    const std::optional<double> distance = checkDistance(o.distance);
    const bool live = o.file == "-";
    const uint64_t bound = o.memoryMiB != 0 ? o.memoryMiB << 20 : physicalMemory() / 2;
    auto source = std::make_shared<FrameSource>(o.file, optionalSize(o.size));
    const FrameSize size = source->size();
    if (source->frameCount() && *source->frameCount() * size.frameBytes() > bound) {
        throw Failure(o.file + " holds " + mib(*source->frameCount() * size.frameBytes()) +
                      " of frames, more than the " + mib(bound) + " the viewer may hold (--memory MiB)");
    }
    auto rec = std::make_shared<Recording>(o.calType, size, emissivity, distance, bound);

    // Ctrl-C or SIGTERM asks the server to stop: the reader of a stream
    // returns with what arrived, the thread below stops the server.
    StopOnSignal stoppable;
    // A reader blocked on standard input is woken by SIGUSR1 at the end.
    struct sigaction wake {};
    wake.sa_handler = wakeReader;
    sigaction(SIGUSR1, &wake, nullptr);

    std::atomic<bool> stop{false};
    std::promise<void> readerDone;
    std::future<void> readerEnded = readerDone.get_future();
    const auto read = [rec, source, &stop, &readerDone, live] {
        const std::string why = rec->readAll(*source, stop);
        const Recording::Span s = rec->span();
        rec->finish(why);
        if (live && !stop.load()) {
            std::fprintf(stderr, "kalviro: %s; the %llu whole frame(s) stay on view\n",
                         why.empty() ? "standard input ended" : why.c_str(),
                         static_cast<unsigned long long>(s.end));
        } else if (!why.empty() && !stop.load()) {
            std::fprintf(stderr, "kalviro: %s\n", why.c_str());
        }
        readerDone.set_value();
    };
    std::thread reader;
    if (live) {
        reader = std::thread([read] {
            sigset_t wakeOnly;
            sigemptyset(&wakeOnly);
            sigaddset(&wakeOnly, SIGUSR1);
            pthread_sigmask(SIG_UNBLOCK, &wakeOnly, nullptr);
            read();
        });
    } else {
        read();
        const Recording::Span s = rec->span();
        if (s.end == 0) throw Failure(o.file + " holds no frame");
        if (!s.ended.empty()) throw Failure(s.ended);
    }

    Viewer viewer(o, rec, o.file, live);
    viewer.bind();
    const std::string url = viewer.url();
    std::printf("%s\n", url.c_str());
    std::fflush(stdout);
    if (live) {
        std::fprintf(stderr,
                     "kalviro: viewing standard input, %s; holding up to %s of frames; Ctrl-C stops\n",
                     size.text().c_str(), mib(bound).c_str());
    } else {
        std::fprintf(stderr, "kalviro: viewing %s, %llu frame(s) of %s; Ctrl-C stops\n", o.file.c_str(),
                     static_cast<unsigned long long>(rec->span().end), size.text().c_str());
    }
    if (!o.noBrowser) openBrowser(url);

    std::atomic<bool> served{false};
    std::thread signals([&] {
        // The server ignores a stop before it runs: a Ctrl-C right after the
        // URL waits for listen() to have begun.
        bool asked = false;
        while (!served.load()) {
            if (asked) {
                if (viewer.running()) return viewer.stop();
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
                continue;
            }
            pollfd fd{stopFd(), POLLIN, 0};
            asked = ::poll(&fd, stopFd() < 0 ? 0 : 1, 200) > 0 || stopSignal() != 0;
        }
    });
    viewer.listen();
    served = true;
    signals.join();
    stop = true;
    if (reader.joinable()) {
        while (readerEnded.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready)
            pthread_kill(reader.native_handle(), SIGUSR1);
        reader.join();
    }
    std::fprintf(stderr, "kalviro: viewer stopped\n");
}

}  // namespace kalviro::cli
