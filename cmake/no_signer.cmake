# Runs in the place of kestrim_sign where a build for another machine has none that it could run.
message(FATAL_ERROR "The library file ends in a signature, and the program that makes it cannot be built for this machine "
                    "in a build for another one. Build the target kestrim_sign for this machine and name the program with "
                    "-DKESTRIM_SIGNER=.../bin/kestrim_sign.")
