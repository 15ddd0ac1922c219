// Its tests are in rsa_peer_test.cpp.
