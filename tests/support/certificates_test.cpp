#include "tests/support/certificates.h"

#include <gtest/gtest.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <cstdio>
#include <memory>
#include <string>

namespace {

struct Free
{
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(X509_STORE* store) const { X509_STORE_free(store); }
    void operator()(X509_STORE_CTX* context) const { X509_STORE_CTX_free(context); }
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
    void operator()(std::FILE* file) const { std::fclose(file); }
};
template <class T>
using Owned = std::unique_ptr<T, Free>;

Owned<X509> read(const std::string& name)
{
    const Owned<std::FILE> file(std::fopen(name.c_str(), "rb"));
    return Owned<X509>(file ? PEM_read_X509(file.get(), nullptr, nullptr, nullptr) : nullptr);
}

/// X509_V_OK, or why a certificate is not good under an authority for that purpose.
int verify(const std::string& certificate_file, const std::string& authority_file, int purpose)
{
    const Owned<X509> certificate = read(certificate_file);
    const Owned<X509_STORE> store(X509_STORE_new());
    const Owned<X509_STORE_CTX> context(X509_STORE_CTX_new());
    if (!certificate || X509_STORE_load_file(store.get(), authority_file.c_str()) != 1
        || X509_STORE_CTX_init(context.get(), store.get(), certificate.get(), nullptr) != 1)
    {
        return X509_V_ERR_UNSPECIFIED;
    }
    X509_STORE_CTX_set_purpose(context.get(), purpose);
    X509_verify_cert(context.get());
    return X509_STORE_CTX_get_error(context.get());
}

bool key_fits(const Certificate_Files& files)
{
    const Owned<SSL_CTX> context(SSL_CTX_new(TLS_method()));
    return SSL_CTX_use_certificate_file(context.get(), files.certificate.c_str(), SSL_FILETYPE_PEM) == 1
           && SSL_CTX_use_PrivateKey_file(context.get(), files.key.c_str(), SSL_FILETYPE_PEM) == 1
           && SSL_CTX_check_private_key(context.get()) == 1;
}

} // namespace

TEST(Certificates, hold_under_the_authority_that_signed_them_and_no_other)
{
    const Certificates made;
    EXPECT_EQ(verify(made.server().certificate, made.authority(), X509_PURPOSE_SSL_SERVER), X509_V_OK);
    EXPECT_EQ(verify(made.wrong_host().certificate, made.authority(), X509_PURPOSE_SSL_SERVER), X509_V_OK);
    EXPECT_EQ(verify(made.client().certificate, made.authority(), X509_PURPOSE_SSL_CLIENT), X509_V_OK);
    EXPECT_EQ(verify(made.other_client().certificate, made.other_authority(), X509_PURPOSE_SSL_CLIENT), X509_V_OK);
    EXPECT_EQ(verify(made.expired().certificate, made.authority(), X509_PURPOSE_SSL_SERVER),
              X509_V_ERR_CERT_HAS_EXPIRED);
    EXPECT_EQ(verify(made.server().certificate, made.other_authority(), X509_PURPOSE_SSL_SERVER),
              X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY);
    EXPECT_EQ(verify(made.other_client().certificate, made.authority(), X509_PURPOSE_SSL_CLIENT),
              X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY);
}

TEST(Certificates, name_their_hosts)
{
    const Certificates made;
    const Owned<X509> server = read(made.server().certificate);
    EXPECT_EQ(X509_check_host(server.get(), "localhost", 0, 0, nullptr), 1);
    EXPECT_EQ(X509_check_ip_asc(server.get(), "127.0.0.1", 0), 1);
    EXPECT_EQ(X509_check_host(server.get(), "elsewhere.example", 0, 0, nullptr), 0);
    const Owned<X509> wrong = read(made.wrong_host().certificate);
    EXPECT_EQ(X509_check_host(wrong.get(), "localhost", 0, 0, nullptr), 0);
    EXPECT_EQ(X509_check_ip_asc(wrong.get(), "127.0.0.1", 0), 0);
    EXPECT_EQ(X509_check_host(wrong.get(), "elsewhere.example", 0, 0, nullptr), 1);
}

TEST(Certificates, come_with_their_keys)
{
    const Certificates made;
    EXPECT_TRUE(key_fits(made.server()));
    EXPECT_TRUE(key_fits(made.wrong_host()));
    EXPECT_TRUE(key_fits(made.expired()));
    EXPECT_TRUE(key_fits(made.client()));
    EXPECT_TRUE(key_fits(made.other_client()));
    EXPECT_FALSE(key_fits({made.server().certificate, made.client().key}));
}
