// One backup run as the catalog service sees it: the set is known from its beginning, its pieces are told as they are
// stored, and a run that fails is taken back.
#pragma once

#include "backup_set/common/backup_set.h"
#include "backup_set/common/catalog_operator.h"
#include "platform/http/json_restful_client.h"
#include "platform/json/value.h"
#include "platform/rpc/global_json_rpc_channel.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>

/// Says where the service is: commits go by JSON-RPC, a queued one is asked for by REST.
inline void use_catalog_service(const std::string& server, const std::string& access_key)
{
    const std::size_t colon = server.rfind(':');
    const int port = colon == std::string::npos ? 0 : std::atoi(server.c_str() + colon + 1);
    if (port < 1 || port > 65535) {
        throw std::invalid_argument("'" + server + "' is not of the form HOST:PORT");
    }
    JSON_RPC_Endpoint endpoint;
    endpoint.host = server.substr(0, colon);
    endpoint.port = static_cast<std::uint16_t>(port);
    endpoint.access_key = access_key;
    Global_JSON_RPC_Channel::configure(endpoint);
    Upstream_JSON_RESTful_Client::configure(endpoint.host, endpoint.port, endpoint.tls, access_key);
}

class Catalog_Run
{
public:
    explicit Catalog_Run(Backup_Set& set) : uuid_(set.uuid) { check(catalog_.initialize(set), "be initialized"); }
    Catalog_Run(const Catalog_Run&) = delete;
    Catalog_Run& operator=(const Catalog_Run&) = delete;

    /// Makes the catalog forget the set. False: it may have it all the same, so what is stored has to stay.
    bool take_back()
    {
        json_spirit::Array pieces;
        return catalog_.abort(uuid_, pieces);
    }

    void add_piece(Backup_Piece& piece)
    {
        json_spirit::Value value;
        check(json_spirit::read(to_json(piece), value), "write its pieces");
        pieces_.push_back(std::move(value));
        if (pieces_.size() == pieces_at_once) {
            send_pieces();
        }
    }

    /// The catalog has the pieces already, so they need not be sent again.
    void commit(Backup_Set& set)
    {
        send_pieces();
        const auto pieces = std::exchange(set.pieces, {});
        const bool done = catalog_.complete(set) && catalog_.commit(set, true);
        set.pieces = pieces;
        check(done, "be committed");
    }

private:
    static constexpr std::size_t pieces_at_once = 8;

    void send_pieces()
    {
        if (!pieces_.empty()) {
            check(catalog_.add_piece(uuid_, pieces_), "get its pieces");
            pieces_.clear();
        }
    }

    static void check(bool done, const char* what)
    {
        if (!done) {
            throw std::runtime_error(std::string("the set cannot ") + what
                                     + " at the catalog; the lines above say why");
        }
    }

    Catalog_Operator catalog_{5, 60}; ///< at most five retries, a minute of waits
    const std::string uuid_;
    json_spirit::Array pieces_; ///< stored, and not yet told
};
