#pragma once

#include <QString>

namespace velmora::test {

// A test CA and server certificates made with the openssl command once per
// test program, in a temporary folder removed at exit:
//   - localhost: for "localhost" and 127.0.0.1, issued by the test CA;
//   - otherHost: for "other.example", issued by the test CA;
//   - stranger:  for "localhost", issued by a CA nobody trusts.
// EC keys keep the making quick.
class TestCertificates {
public:
    struct Pair {
        QString certificate; // PEM file
        QString key;         // PEM file, unencrypted
    };

    // The certificates, or nullptr when they cannot be made (`why` says why).
    static const TestCertificates* get(QString* why = nullptr);

    QString caFile; // the test CA's certificate, what a client is told to trust
    Pair localhost;
    Pair otherHost;
    Pair stranger;
};

} // namespace velmora::test
