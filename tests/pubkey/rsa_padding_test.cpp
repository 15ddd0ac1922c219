// Its tests are in rsa_padding_inner_test.cpp.
