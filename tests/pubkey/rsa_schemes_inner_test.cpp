// Its tests are in rsa_key_inner_test.cpp.
