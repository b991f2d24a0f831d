#include "remote/harness.h"

#include <fcntl.h>
#include <grpcpp/create_channel.h>
#include <grpcpp/generic/generic_stub.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <future>
#include <iterator>

namespace tovak::testing {

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

void Run(const std::string& command) {
  if (std::system((command + " 2>/dev/null").c_str()) != 0) throw std::runtime_error(command);
}

std::string MakeUserKey(const TempDir& dir, const std::string& name, const char* algorithm,
                        const std::string& passphrase) {
  const std::string key = dir.File(name), pass = "'file:" + key + ".pass'";  // any characters
  WriteFile(key + ".pass", passphrase + "\n");
  const bool plain = passphrase.empty();
  Run("openssl genpkey -algorithm " + std::string(algorithm) +
      (plain ? "" : " -aes-256-cbc -pass " + pass) + " -out '" + key + ".key'");
  Run("openssl pkey -in '" + key + ".key'" + (plain ? "" : " -passin " + pass) + " -pubout -out '" +
      key + ".pub'");
  return key;
}

std::string MakeServerCert(const TempDir& dir, const std::string& name) {
  const std::string cert = dir.File(name);
  Run("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2"
      " -subj /CN=localhost -addext subjectAltName=DNS:localhost,IP:127.0.0.1 -keyout '" +
      cert + ".key' -out '" + cert + ".crt'");
  return cert;
}

static std::vector<pid_t> Children(pid_t pid) {
  std::vector<pid_t> children;
  std::ifstream file("/proc/" + std::to_string(pid) + "/task/" + std::to_string(pid) + "/children");
  for (pid_t child = 0; pid > 0 && file >> child;) children.push_back(child);
  return children;
}

ServerProcess::ServerProcess(const TempDir& dir, const std::string& name, const std::string& extra,
                             int port)
    : log_(dir.File(name + ".log")) {
  const std::string config = dir.File(name + ".conf"), portFile = dir.File(name + ".port");
  WriteFile(config, "listen = 127.0.0.1:" + std::to_string(port) +
                        "\nsite.ubo.index = /ubo\nsite.tsu.index = /tsu\nsite.odd.index = /odd\n" +
                        extra);
  if ((pid_ = fork()) == 0) {
    setpgid(0, 0);
    dup2(open(log_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
    execl(TOVAK_SERVER_BINARY, "tovak-server", "--config", config.c_str(), "--port-file",
          portFile.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  setpgid(pid_, pid_);
  Eventually([&] {  // the file appears once every worker listens
    if (pid_ > 0 && waitpid(pid_, &status_, WNOHANG) == pid_) pid_ = -1;
    port_ = std::atoi(ReadFile(portFile).c_str());
    return port_ > 0 || pid_ < 0;
  });
}

std::string ServerProcess::Address(const std::string& site, const char* scheme) const {
  return std::string(scheme) + "://127.0.0.1:" + std::to_string(port_) + "/" + site;
}

std::vector<pid_t> ServerProcess::Workers() const { return Children(pid_); }

int ServerProcess::Stop(int signal) {
  if (pid_ > 0 && signal == SIGTERM) kill(-pid_, SIGCONT);  // a stopped group takes no SIGTERM
  if (pid_ > 0 && kill(signal == SIGTERM ? pid_ : -pid_, signal) == 0) waitpid(pid_, &status_, 0);
  pid_ = -1;
  return status_;
}

Cluster::Cluster() : own_(std::make_unique<TempDir>()), dir_(own_->path()) {
  if (!Dbctl("start --fresh")) throw std::runtime_error("no cluster in " + dir_);
}

bool Cluster::Dbctl(const std::string& command) const {
  const char* dbctl = std::getenv("TOVAK_DBCTL");
  const std::string line = std::string("'") + (dbctl ? dbctl : "dbctl") + "' " + command + " '" +
                           dir_ + "' >/dev/null 2>&1";
  return std::system(line.c_str()) == 0;
}

pid_t Cluster::Postmaster() const {
  return std::atoi(ReadFile(dir_ + "/data/postmaster.pid").c_str());
}

std::vector<pid_t> Cluster::Processes() const {
  std::vector<pid_t> all = Children(Postmaster());
  all.insert(all.begin(), Postmaster());
  return all;
}

std::shared_ptr<grpc::Channel> PlainChannel(int port) {
  return grpc::CreateChannel("127.0.0.1:" + std::to_string(port),
                             grpc::InsecureChannelCredentials());
}

grpc::Status CallWithPayload(const std::shared_ptr<grpc::Channel>& channel,
                             const std::string& method, const std::string& payload,
                             std::map<std::string, std::string> metadata) {
  grpc::ClientContext context;
  context.set_deadline(std::chrono::system_clock::now() + kGuard);
  metadata.emplace("tovak-site-bin", "ubo");
  for (const auto& [key, value] : metadata) context.AddMetadata(key, value);
  grpc::Slice slice(payload);
  const grpc::ByteBuffer request(&slice, 1);
  grpc::ByteBuffer reply;
  std::promise<grpc::Status> done;
  grpc::GenericStub stub(channel);
  stub.UnaryCall(&context, "/tovak.remote.v1.TimingData/" + method, {}, &request, &reply,
                 [&](grpc::Status status) { done.set_value(status); });
  return done.get_future().get();
}

}  // namespace tovak::testing
