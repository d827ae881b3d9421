// The add-on's model PUT (PutRawBlocking) beside the curl command line tool, both sending the
// same .glb-sized buffer just under the 200 MB cap to nginx's WebDAV PUT on loopback.
//
// Neither copies the file whole on its way to the socket: PutRawBlocking hands the caller's
// buffer to the transport, whose read callback moves one piece at a time from it into curl's
// upload buffer, which goes straight to send(); the curl tool reads the file from the page
// cache into that same buffer, piece by piece.
#include "Upload/Uploader.hpp"

#include <benchmark/benchmark.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace Velmora::Bench {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kGlbBytes = 200 * 1048576;
constexpr char kGlbMime[] = "model/gltf-binary";

// A glb header and JSON chunk, then a BIN chunk of vertex grids with a little noise and their
// triangle indices, as an exported building would hold.
std::vector<unsigned char> MakeGlbLike(std::size_t size) {
    std::vector<unsigned char> glb;
    glb.reserve(size);
    std::string const json =
        R"({"asset":{"version":"2.0","generator":"bench"},"scene":0,"scenes":[{"nodes":[0]}]})";
    std::uint32_t const header[5] = {0x46546C67, 2, static_cast<std::uint32_t>(size),
                                     static_cast<std::uint32_t>(json.size()), 0x4E4F534A};
    auto const append = [&glb](void const* data, std::size_t n) {
        auto const* bytes = static_cast<unsigned char const*>(data);
        glb.insert(glb.end(), bytes, bytes + n);
    };
    append(header, sizeof header);
    append(json.data(), json.size());
    std::uint32_t noise = 12345;
    for (std::uint32_t i = 0; glb.size() + 12 <= size; ++i) {
        noise = noise * 1664525u + 1013904223u;
        if ((i / 4096) % 2 == 0) {
            float const vertex[3] = {static_cast<float>(i % 64) * 0.25f,
                                     static_cast<float>((noise >> 8) % 1000) * 0.001f,
                                     static_cast<float>(i / 64 % 64) * 0.25f};
            append(vertex, sizeof vertex);
        } else {
            std::uint32_t const triangle[3] = {i % 4096, (i + 1) % 4096, (i + 64) % 4096};
            append(triangle, sizeof triangle);
        }
    }
    glb.resize(size, 0);
    return glb;
}

int FreeLoopbackPort() {
    int const fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no free loopback port");
    close(fd);
    return ntohs(address.sin_port);
}

bool Accepts(int port) {
    int const fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    bool const ok = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(fd);
    return ok;
}

// Runs a program and returns its exit status (-1 when it did not exit normally).
int RunAndWait(std::vector<std::string> const& arguments) {
    std::vector<char*> argv;
    for (std::string const& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    pid_t const pid = fork();
    if (pid == 0) {
        execvp(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    if (pid < 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}

// nginx in the foreground, a single process, with its prefix, pid, logs and WebDAV root in a
// fresh folder in memory (so a disk does not set the pace). Started on first use, stopped
// when the program ends, and also when it dies.
class NginxDav {
public:
    static NginxDav& Get() {
        static NginxDav server;
        return server;
    }

    ~NginxDav() {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
        }
        std::error_code ignored;
        fs::remove_all(dir_, ignored);
    }

    std::string Url(std::string const& path) const {
        return "http://127.0.0.1:" + std::to_string(port_) + path;
    }
    fs::path const& Dir() const { return dir_; }

private:
    NginxDav() : port_(FreeLoopbackPort()) {
        fs::path const base =
            fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
        dir_ = base / ("velmora-bench-nginx-" + std::to_string(getpid()));
        fs::create_directories(dir_ / "www");
        WriteConfig();
        Start();
    }

    void WriteConfig() const {
        std::string const d = dir_.string();
        std::ofstream(dir_ / "nginx.conf")
            << "daemon off;\nmaster_process off;\nworker_processes 1;\n"
            << "pid " << d << "/nginx.pid;\nerror_log " << d << "/error.log;\n"
            << "events { worker_connections 64; }\nhttp {\n  access_log off;\n"
            << "  client_body_temp_path " << d << "/body;\n  proxy_temp_path " << d
            << "/proxy;\n  fastcgi_temp_path " << d << "/fastcgi;\n  uwsgi_temp_path " << d
            << "/uwsgi;\n  scgi_temp_path " << d << "/scgi;\n"
            << "  server {\n    listen 127.0.0.1:" << port_ << ";\n    location / {\n"
            << "      root " << d << "/www;\n      dav_methods PUT;\n"
            << "      client_max_body_size 0;\n      create_full_put_path on;\n    }\n  }\n}\n";
    }

    void Start() {
        std::string const d = dir_.string();
        pid_ = fork();
        if (pid_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            execlp("nginx", "nginx", "-p", d.c_str(), "-c", (d + "/nginx.conf").c_str(), "-e",
                   (d + "/error.log").c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        for (int attempt = 0; attempt < 500 && !Accepts(port_); ++attempt) {
            if (waitpid(pid_, nullptr, WNOHANG) == pid_) {
                pid_ = -1;
                throw std::runtime_error("nginx did not start; see " + d + "/error.log");
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }

    int port_ = 0;
    pid_t pid_ = -1;
    fs::path dir_;
};

std::vector<unsigned char> const& Glb() {
    static std::vector<unsigned char> const glb = MakeGlbLike(kGlbBytes);
    return glb;
}

void PutWithUploader(benchmark::State& state) {
    std::vector<unsigned char> const& glb = Glb();
    std::string const url = NginxDav::Get().Url("/models/velmora.glb");
    std::uint64_t lastSent = 0;
    for (auto _ : state) {
        UploadResult const result = Uploader::PutRawBlocking(
            url, kGlbMime, glb.data(), glb.size(),
            [&lastSent](std::uint64_t sent, std::uint64_t) { lastSent = sent; });
        if (result.outcome != UploadOutcome::Ok || lastSent != glb.size()) {
            state.SkipWithError(
                ("PUT failed, status " + std::to_string(result.httpStatus)).c_str());
            break;
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * glb.size()));
}

void PutWithCurlTool(benchmark::State& state) {
    NginxDav& server = NginxDav::Get();
    fs::path const file = server.Dir() / "upload.glb";
    {
        std::vector<unsigned char> const& glb = Glb();
        std::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<char const*>(glb.data()),
                   static_cast<std::streamsize>(glb.size()));
    }
    std::vector<std::string> const command = {"curl",
                                              "-sS",
                                              "-f",
                                              "-o",
                                              "/dev/null",
                                              "-H",
                                              std::string("Content-Type: ") + kGlbMime,
                                              "--upload-file",
                                              file.string(),
                                              server.Url("/models/curl.glb")};
    for (auto _ : state) {
        if (RunAndWait(command) != 0) {
            state.SkipWithError("curl --upload-file failed");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kGlbBytes));
}

BENCHMARK(PutWithUploader)
    ->Name("PutGlb200MiB/velmora")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MinTime(3.0);
BENCHMARK(PutWithCurlTool)
    ->Name("PutGlb200MiB/curl_tool")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MinTime(3.0);

} // namespace
} // namespace Velmora::Bench
