// Its tests are in rsa_schemes_proven_test.cpp.
