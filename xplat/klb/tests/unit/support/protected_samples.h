#ifndef KLB_TESTS_UNIT_SUPPORT_PROTECTED_SAMPLES_H
#define KLB_TESTS_UNIT_SUPPORT_PROTECTED_SAMPLES_H

namespace klb::test {

// Made with the openssl command line (enc, smime) for the system identifier "System"; the signer's
// certificate is valid from 2020 to 2120.

/// The document inside.
constexpr const char* kSampleDocument =
    "{\"header\":{\"systemId\":\"System\"},\"features\":{\"a\":true}}";

/// The document, encrypted.
constexpr const char* kEncryptedDocument =
    "U2FsdGVkX18FTDgnGj+KfiArJ8f1XTHmMw/dz4wbQXO4Q/b2oEzQ628+EfkCfzol\n"
    "Bw6JthIMi0OqzJ+zJDKYeV29QnyXuK8GhI3T2Ob7q1M=\n";

/// A document made for the system identifier "Other" inside, encrypted for "System".
constexpr const char* kEncryptedDocumentOfAnother =
    "U2FsdGVkX19sZPbrV4OsJtwfoPZZItfZP1huSXeFmfaAT9KVjb6YPkh0QPSgf+5D\n"
    "/SSr4zijR1C/m/l6CPK89VYZDF3E8eBcpI2O8eVsWms=\n";

/// The document, signed.
constexpr const char* kSignedDocument =
    "MIME-Version: 1.0\n"
    "Content-Disposition: attachment; filename=\"smime.p7m\"\n"
    "Content-Type: application/x-pkcs7-mime; smime-type=signed-data; name=\"smime.p7m\"\n"
    "Content-Transfer-Encoding: base64\n"
    "\n"
    "MIIDQwYJKoZIhvcNAQcCoIIDNDCCAzACAQExDzANBglghkgBZQMEAgEFADBFBgkq\n"
    "hkiG9w0BBwGgOAQ2eyJoZWFkZXIiOnsic3lzdGVtSWQiOiJTeXN0ZW0ifSwiZmVh\n"
    "dHVyZXMiOnsiYSI6dHJ1ZX19oIIBWjCCAVYwgf2gAwIBAgIBATAKBggqhkjOPQQD\n"
    "AjAaMRgwFgYDVQQDDA9rbGIgdGVzdCBzaWduZXIwIBcNMjAwMTAxMDAwMDAwWhgP\n"
    "MjEyMDAxMDEwMDAwMDBaMBoxGDAWBgNVBAMMD2tsYiB0ZXN0IHNpZ25lcjBZMBMG\n"
    "ByqGSM49AgEGCCqGSM49AwEHA0IABJ4TXQ4CCtZQYzHZwpLLtMHNhr66NuqMkzcW\n"
    "kS0KzyqCw5zyh++EeQ/sTgIqOiysmJ2l2w6jfd6j0/J9+hUZzmWjMjAwMA8GA1Ud\n"
    "EwEB/wQFMAMBAf8wHQYDVR0OBBYEFB5mOsmeLpzTy3Pymy4fPh90QjdWMAoGCCqG\n"
    "SM49BAMCA0gAMEUCIEIYwj6hvtG50VYL6eqwzVmDAg66QxKT8/5yyE+gbfStAiEA\n"
    "zGFdCuIgqzXA/8iEsmBrxMwEN1k0w0nD8i+TcqXGk+0xggFzMIIBbwIBATAfMBox\n"
    "GDAWBgNVBAMMD2tsYiB0ZXN0IHNpZ25lcgIBATANBglghkgBZQMEAgEFAKCB5DAY\n"
    "BgkqhkiG9w0BCQMxCwYJKoZIhvcNAQcBMBwGCSqGSIb3DQEJBTEPFw0yNjExMjEw\n"
    "NDEzMTNaMC8GCSqGSIb3DQEJBDEiBCC6Q5MR++wMIxsfiwCvQHEF0QGqWjAmGwah\n"
    "s8vaOF2t9zB5BgkqhkiG9w0BCQ8xbDBqMAsGCWCGSAFlAwQBKjALBglghkgBZQME\n"
    "ARYwCwYJYIZIAWUDBAECMAoGCCqGSIb3DQMHMA4GCCqGSIb3DQMCAgIAgDANBggq\n"
    "hkiG9w0DAgIBQDAHBgUrDgMCBzANBggqhkiG9w0DAgIBKDAKBggqhkjOPQQDAgRH\n"
    "MEUCIQD3CVkX+/o+KzvPRagD8vJAWZDqUPZZ71jgVPHzvDa0xAIgMpE9607Bn9nS\n"
    "WWSIhtQgXRyPyzPzlXX1qI6EuHY9q3M=\n"
    "\n";

/// The document, signed and encrypted.
constexpr const char* kProtectedFile =
    "U2FsdGVkX19rPcfilYuaXC9S9jGwCsOnOa3P2z/+mSj4v+4sm1vchTWxdcnOFpHD\n"
    "28pINUoRwS1jhJXKELnK1m1Ne4pMIGgOq2djk7KsiMlFhQSJ2da540dCs3Ndooan\n"
    "onGhscf0q9Y9ufeTT/Y3x0XRzAM5Rt2Ap7d3JiTpByZqCh+el8HlC1q5SoxCLKAs\n"
    "ADQ+Cg/Ctg0OIYQ7cnzS24LBj0pkCfS5PggLzoGUlfQpMYwxa7u/p1ugfwFqLdQO\n"
    "D/T9L/hBc4E7WIWZSFRlIvJB9kPAAG3X5ALVKE506/BjubZDX/7tx8yp0mnpCeeu\n"
    "tOi48HKg73vBKVc0kp9Es/ktVkeLlYwwXDZouSezTqdOTts4LARZytpwAgCT5EDv\n"
    "/bD9VTYJJfPxQw1R0M5iTS71PkSOLjCht1wYiRBkMbdaVy+A1f56JGzQrVj/fcUr\n"
    "l6PZcL6IyJwuhpSeICvMlB0txbRpWO7Xmjn27qp4Du2OIMs1193kALc9AYCSXul2\n"
    "SUZxKfRAL+3qLoGCrad2vUhujO7ou4Wnc7iJpIC0HYqvxjaYNVIoVisywHFEbNDC\n"
    "/1Tmw6EdItjynQmXdH05yB7a0fM1IN8GkvxW/uSErgjBo2pthfyJNcNvMTFBJA9f\n"
    "Mq76MBmFqm+tXZvyJ86jHaMDLTJc5f6HIx7eg7QfYJ6VwKIyIvrp2Nz1lV2ombJc\n"
    "OJY1mtjzMZhj0U9vATFZIJsFMfL946mgYOmp2FfnbAz372lKwAC0+h1MIQ7J4Bz3\n"
    "xgtM6tCAqNa0vHeeD5+W+VdzvWWZmuKy48RYAC2Q8byiH+b+7yCUJsMzdLBwuoh+\n"
    "8Q362ku8DcGNAS2CfxHMF+NzudnNweiDkOKUhW3kj9BXzx32uy9US1IuSgvUGqvX\n"
    "ohJE3FW0O7qSq+goRRehEcCc6NW5MB/0c47YIkSZkecGi3vZupEpDYk/qyH3MqpO\n"
    "wUnFLmNm2N0/m0x+6QLfXHCKJW+ObL8wqydmCuFvYflxYXaPByI8IL2ehZf7ucv+\n"
    "jLF40fTaPPw2KcRpTJuDgFfkp2syaiCXveIs9jlZYatty7n3JrwBOIo3Fb5a3N/5\n"
    "u8BC2RUP33CrTPuXqfod4wvash/OrhXiok5cg/vrKZnuIxiNd4C042b7xknmnRgT\n"
    "eZe3y/b9V6oRgAasNy40XiSKeiMH6XyLLYplrWo3hSCRDS3FBuKJR3iO7LywWtUf\n"
    "eQnAs0pb4vXXcISumPEDwLHakgGFLp7YdpOPwW43S9kQkvFpYEnLYxd5ajKODrkl\n"
    "CjXgWP64okgjsaXtB0w0bl8VNACXG08Z6rzmNMvVSq0U6oXJy4fHINEy9nn/AJYn\n"
    "DNdlEYh+S5RI9We9qyM/LmFgPB4dhH+1jwVzhL1Eqn41PH1AwOiTUGxzUnFKU9AX\n"
    "YbdwM06aYqu+GPiIHBTVkrijl7KPg7m5zlcrh3U24i9v6BRNyGR0dmfWBumcmTWq\n"
    "gXUlrAH4lA3D7k6LogkLHqw2mezARFYzl53u6SvUuLIYV4qMkxz7kY+Fm2Y24K3w\n"
    "Q8BRAYDiqkdNTcHJRtlLjJYmb3exrsy8DgcalbBTVyTKjqeGeatdiflcrLGYk4Vx\n"
    "f4x4RSQUipOXNOHnD28LW+ZIdbf2FwhX2taHi8I5nO9Bd2vXjjCXc51HQOaSi1td\n"
    "S/hJSnm65d+cu9YF3WWrh04CDGULwZBcG2ZII0eE4oTii0DHkVnMAO+kuuzLXFjM\n"
    "fV/2SIT7cFeY8N2NyToyou0mAAw5iLgj+2WtHb9RuhZjIl9foCU1kOf67rntWWp/\n";

/// The signer's certificate.
constexpr const char* kSignerCertificate =
    "-----BEGIN CERTIFICATE-----\n"
    "MIIBVjCB/aADAgECAgEBMAoGCCqGSM49BAMCMBoxGDAWBgNVBAMMD2tsYiB0ZXN0\n"
    "IHNpZ25lcjAgFw0yMDAxMDEwMDAwMDBaGA8yMTIwMDEwMTAwMDAwMFowGjEYMBYG\n"
    "A1UEAwwPa2xiIHRlc3Qgc2lnbmVyMFkwEwYHKoZIzj0CAQYIKoZIzj0DAQcDQgAE\n"
    "nhNdDgIK1lBjMdnCksu0wc2Gvro26oyTNxaRLQrPKoLDnPKH74R5D+xOAio6LKyY\n"
    "naXbDqN93qPT8n36FRnOZaMyMDAwDwYDVR0TAQH/BAUwAwEB/zAdBgNVHQ4EFgQU\n"
    "HmY6yZ4unNPLc/KbLh8+H3RCN1YwCgYIKoZIzj0EAwIDSAAwRQIgQhjCPqG+0bnR\n"
    "Vgvp6rDNWYMCDrpDEpPz/nLIT6Bt9K0CIQDMYV0K4iCrNcD/yISyYGvEzAQ3WTTD\n"
    "ScPyL5NypcaT7Q==\n"
    "-----END CERTIFICATE-----\n";

/// A revocation list of another authority.
constexpr const char* kRevocationList =
    "-----BEGIN X509 CRL-----\n"
    "MIGuMFYwCgYIKoZIzj0EAwIwFDESMBAGA1UEAwwJYXV0aG9yaXR5Fw0yNjExMjEx\n"
    "NTE1NTVaFw0zNjExMTgxNTE1NTVaMBQwEgIBAhcNMjYxMTIxMTUxNTU1WjAKBggq\n"
    "hkjOPQQDAgNIADBFAiEAg5TG8BEaLB0noJrmxEYm1ut79SyAC8XAlF9DFK7NfTwC\n"
    "IApK+e+JlelWClRx+hmqkBc06XuKkm3N+twyjoZyiZXB\n"
    "-----END X509 CRL-----\n";

} // namespace klb::test

#endif
