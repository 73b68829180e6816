#include "tests/support/certificates.h"

#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <stdexcept>

namespace {

template <auto Free>
struct Freed_By
{
    template <class T>
    void operator()(T* object) const
    {
        Free(object);
    }
};
using Key = std::unique_ptr<EVP_PKEY, Freed_By<&EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Freed_By<&X509_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, Freed_By<&X509_EXTENSION_free>>;
using File = std::unique_ptr<std::FILE, Freed_By<&std::fclose>>;

void require(bool done, const char* what)
{
    if (!done) {
        char reason[256];
        ERR_error_string_n(ERR_get_error(), reason, sizeof reason);
        throw std::runtime_error(std::string(what) + ": " + reason);
    }
}

struct Signed
{
    Key key;
    Certificate certificate;
};

void add_extension(X509* certificate, X509* issuer, int kind, const char* value)
{
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value));
    require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, value);
}

constexpr long hour = 3600;

/// Makes a certificate that is valid from an hour ago; without an issuer it signs itself.
Signed make(const char* name, const Signed* issuer, long seconds)
{
    Signed made{Key(EVP_EC_gen("P-256")), Certificate(X509_new())};
    require(made.key && made.certificate, "cannot make a key");
    X509* const certificate = made.certificate.get();
    std::uint64_t serial = 0;
    require(RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1, "cannot draw a number");
    require(X509_set_version(certificate, X509_VERSION_3) == 1, "version");
    require(ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), serial >> 1) == 1, "serial number");
    require(X509_gmtime_adj(X509_getm_notBefore(certificate), -2 * hour) != nullptr, "beginning");
    require(X509_gmtime_adj(X509_getm_notAfter(certificate), seconds) != nullptr, "end");
    require(X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char*>(name), -1, -1, 0)
                == 1,
            "name");
    X509* const signer = issuer != nullptr ? issuer->certificate.get() : certificate;
    require(X509_set_issuer_name(certificate, X509_get_subject_name(signer)) == 1, "issuer");
    require(X509_set_pubkey(certificate, made.key.get()) == 1, "public key");
    add_extension(certificate, signer, NID_subject_key_identifier, "hash");
    return made;
}

void sign(const Signed& signed_one, const Signed& issuer)
{
    require(X509_sign(signed_one.certificate.get(), issuer.key.get(), EVP_sha256()) > 0, "cannot sign");
}

Signed make_authority(const char* name)
{
    Signed authority = make(name, nullptr, 24 * hour);
    X509* const certificate = authority.certificate.get();
    add_extension(certificate, certificate, NID_basic_constraints, "critical,CA:TRUE");
    add_extension(certificate, certificate, NID_key_usage, "critical,keyCertSign,cRLSign");
    sign(authority, authority);
    return authority;
}

Signed make_end(const char* name, const Signed& issuer, const char* usage, const char* hosts, long seconds = 24 * hour)
{
    Signed end = make(name, &issuer, seconds);
    X509* const certificate = end.certificate.get();
    add_extension(certificate, issuer.certificate.get(), NID_basic_constraints, "critical,CA:FALSE");
    add_extension(certificate, issuer.certificate.get(), NID_ext_key_usage, usage);
    if (hosts != nullptr) {
        add_extension(certificate, issuer.certificate.get(), NID_subject_alt_name, hosts);
    }
    sign(end, issuer);
    return end;
}

File open_for_writing(const std::string& name)
{
    File file(std::fopen(name.c_str(), "wbx"));
    if (!file) {
        throw std::runtime_error("cannot make " + name);
    }
    return file;
}

std::string write_certificate(const Temp_Dir& dir, const std::string& stem, const Signed& made)
{
    std::string name = dir.file(stem + ".crt");
    const File file = open_for_writing(name);
    require(PEM_write_X509(file.get(), made.certificate.get()) == 1 && std::fflush(file.get()) == 0, name.c_str());
    return name;
}

Certificate_Files write(const Temp_Dir& dir, const std::string& stem, const Signed& made)
{
    const std::string key = dir.file(stem + ".key");
    const File file = open_for_writing(key);
    require(PEM_write_PrivateKey(file.get(), made.key.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1
                && std::fflush(file.get()) == 0,
            key.c_str());
    return {write_certificate(dir, stem, made), key};
}

} // namespace

Certificates::Certificates()
{
    const Signed authority = make_authority("Test authority");
    const Signed other = make_authority("Other authority");
    const char* const here = "DNS:localhost,IP:127.0.0.1,IP:::1";
    authority_ = write_certificate(dir_, "authority", authority);
    other_authority_ = write_certificate(dir_, "other_authority", other);
    server_ = write(dir_, "server", make_end("server", authority, "serverAuth", here));
    wrong_host_ = write(dir_, "wrong_host", make_end("wrong host", authority, "serverAuth", "DNS:elsewhere.example"));
    expired_ = write(dir_, "expired", make_end("expired", authority, "serverAuth", here, -hour));
    client_ = write(dir_, "client", make_end("client", authority, "clientAuth", nullptr));
    other_client_ = write(dir_, "other_client", make_end("other client", other, "clientAuth", nullptr));
}
