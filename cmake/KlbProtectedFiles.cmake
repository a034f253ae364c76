# The cipher and the digest of protected toggle files. Whoever makes the files uses the same pair.
set(KLB_PROTECTED_CIPHER "AES-256-CBC" CACHE STRING "Cipher of protected toggle files")
set(KLB_PROTECTED_DIGEST "SHA-256" CACHE STRING "Digest that derives key and IV of protected files")

# A block cipher with an IV that the crypto library's cipher filter can run, and that both its 1.0
# series and OpenSSL 3 without the legacy provider know. Authenticated modes do not fit: the files
# carry no tag, and without one nothing is authenticated.
if(NOT KLB_PROTECTED_CIPHER MATCHES
    "^(AES-(128|192|256)-(CBC|CFB|OFB|CTR)|(CAMELLIA-(128|192|256)|DES-EDE3)-(CBC|CFB|OFB))$")
  message(FATAL_ERROR "KLB_PROTECTED_CIPHER: ${KLB_PROTECTED_CIPHER} is not one of "
    "AES-128, AES-192, AES-256 with -CBC, -CFB, -OFB or -CTR, "
    "CAMELLIA-128, CAMELLIA-192, CAMELLIA-256, DES-EDE3 with -CBC, -CFB or -OFB")
endif()
if(NOT KLB_PROTECTED_DIGEST MATCHES "^(MD5|SHA-(1|224|256|384|512))$")
  message(FATAL_ERROR "KLB_PROTECTED_DIGEST: ${KLB_PROTECTED_DIGEST} is not one of "
    "MD5, SHA-1, SHA-224, SHA-256, SHA-384, SHA-512")
endif()

string(TOLOWER "EVP_${KLB_PROTECTED_CIPHER}" KLB_PROTECTED_CIPHER_FUNCTION)
string(REPLACE "evp_" "EVP_" KLB_PROTECTED_CIPHER_FUNCTION "${KLB_PROTECTED_CIPHER_FUNCTION}")
string(REPLACE "-" "_" KLB_PROTECTED_CIPHER_FUNCTION "${KLB_PROTECTED_CIPHER_FUNCTION}")
string(REPLACE "-" "" KLB_PROTECTED_DIGEST_FUNCTION "${KLB_PROTECTED_DIGEST}")
string(TOLOWER "${KLB_PROTECTED_DIGEST_FUNCTION}" KLB_PROTECTED_DIGEST_FUNCTION)
string(PREPEND KLB_PROTECTED_DIGEST_FUNCTION "EVP_")

# For what encrypts or decrypts.
add_library(klb_protected_cipher INTERFACE)
target_compile_definitions(klb_protected_cipher INTERFACE
  KLB_PROTECTED_CIPHER_FUNCTION=${KLB_PROTECTED_CIPHER_FUNCTION}
  KLB_PROTECTED_DIGEST_FUNCTION=${KLB_PROTECTED_DIGEST_FUNCTION})
