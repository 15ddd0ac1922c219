#include <kestrim_crypto.h>
#include <stdio.h>

int main(void)
{
    uint8_t digest[32];
    const uint32_t code = ZRC_DIGEST(ZRC_SHA256, (const uint8_t*)"abc", 3, digest, NULL);
    for (size_t i = 0; code == 0 && i < sizeof digest; i++)
        printf("%02x", digest[i]);
    puts(code == 0 ? "  abc" : "failed");
    return code != 0;
}
