#include "bench/served.h"

#include "bench/benchmarks.h"
#include "bench/sides.h"
#include "catalog/service/service.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <sys/wait.h>

int serve_alone(const char* url)
{
    catalog::service::Service_Options options;
    options.database = url;
    options.writes.writers = 0; // what suits the engine, as `backup-set serve` has it
    catalog::Error error;
    std::string fault;
    const auto service = catalog::service::Service::start(options, error, fault);
    require(service != nullptr, fault);
    std::printf("%u\n", static_cast<unsigned>(service->port()));
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    service->stop(std::chrono::seconds(5));
    return 0;
}

Served::Served(const std::string& database_url)
{
    int input[2];
    int output[2];
    require(::pipe2(input, O_CLOEXEC) == 0 && ::pipe2(output, O_CLOEXEC) == 0, "no pipe");
    pid_ = ::fork();
    require(pid_ >= 0, "no process");
    if (pid_ == 0) {
        ::dup2(input[0], STDIN_FILENO);
        ::dup2(output[1], STDOUT_FILENO);
        ::execl("/proc/self/exe", "backup_set_bench", "--serve", database_url.c_str(), nullptr);
        ::_exit(127);
    }
    ::close(input[0]);
    ::close(output[1]);
    input_ = input[1];
    FILE* const port = ::fdopen(output[0], "r");
    require(port != nullptr && std::fscanf(port, "%hu", &port_) == 1, "the service does not start");
    std::fclose(port);
}

Served::~Served()
{
    ::close(input_);
    ::waitpid(pid_, nullptr, 0);
}

double Served::resident() const
{
    std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:")) {
            return std::stod(line.substr(6)) / 1024;
        }
    }
    require(false, "the service's status has no VmRSS");
    return 0;
}

Client::Client(const Served& served) :
    channel_([&] {
        JSON_RPC_Endpoint endpoint;
        endpoint.host = "127.0.0.1";
        endpoint.port = served.port();
        return endpoint;
    }())
{
    require(channel_.wait_until_open(), "no connection to the service");
}

JSON_RPC_Object_var Client::call(const JSON_RPC_Object& request)
{
    constexpr int patience_s = 60;
    JSON_RPC_Object_var answer;
    require(channel_.call(request, answer, patience_s), "the service does not answer");
    require(answer->type() == JSON_RPC_Object::TYPE_RESPONSE, "the service refuses: " + answer->error_message());
    return answer;
}

JSON_RPC_Object_var make_request(const char* method, std::string_view params)
{
    class Params final : public JSON_Generator
    {
    public:
        explicit Params(std::string_view text) : text_(text) {}
        bool generate(yajl_gen_t* gen) override { return yajl_gen_raw(gen, text_); }

    private:
        std::string_view text_;
    };

    Params text(params);
    JSON_RPC_Object_var request = JSON_RPC_Object::make_request(JSON_RPC_Object::new_id(), method, text);
    require(!request.null(), "no request");
    return request;
}
