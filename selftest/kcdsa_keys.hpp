// The KCDSA domain parameters and keys of the self-test: the first sample for signature generation of the Korean
// validation programme for (2048, 224) with SHA-224 and for (2048, 256) with SHA-256.
#pragma once

#include "core/bytes.hpp"
#include "kestrim/digest.h"
#include "selftest/hex.hpp"

#include <cstdint>

namespace zrc {

struct kcdsa_key {
    std::int32_t digest_id;
    byte_span p, q, g, x, y; // big-endian
};

inline constexpr auto kKcdsaSha224P =
    hex("99811da76c8218a64f16c765831f140aa833095e3d3126dac600caae8bddc68e364ab88ddd4afc56bffadf17e76da84c"
        "515d41b8a291cf536cb7e087060ec6ceefe80d1b58a33108c35fd13e897b7b88b51be194bd693da5754ec008ebc712c9"
        "6a4a3bc24b67aabfd2fd9da28fa1f9ec8032a8e96f6b89ac2ac941ab66e83b8e1bec0dee9241110003071be1b028fc29"
        "c7dd046e829d43046014d1bf30fdf2c68c4f60cbe42dcc1e83a9a3e0f9e745bada12bc7629e801d1afc244bdebd1274c"
        "e415ca476a807cada8f2c42e8e43e1f41e66db4c4389814301deffd48b24270ef46a1a387ee8f188fae13a4c4cdd16fb"
        "93212d41f7f6feb48fc9c41771fbfb97");
inline constexpr auto kKcdsaSha224Q = hex("9361b81f5cacd41b174ca3ece9a6d00c2659025f4e971ad576c011ef");
inline constexpr auto kKcdsaSha224G =
    hex("85433986a2ad22d6966d09adc7fea96c819f3ea05d48bb4f6da7320338c1f15fca3e0a0997e0f3e534147560b3bf0013"
        "64080e5effeb22d741bb6b847e510ebc5760e7db680d4b9d5ba056c67fecfd43e5ba603be1f45e033dc54df46ba15ba1"
        "db7b03fc8622cf8d7ff722790adb1a3c7a6f3c6a45bafcd4b334e37e542a07e8981b1a9b662287b79ec23503deece393"
        "23ef41113b1ce7b6b1f97dd616cefbeb7e6e6da548e5707d51c0b30147d280284e68e939dc3b3f372bdd8dbae6e81e6d"
        "81c311fe425d21d9911fc62d9fc9f75c692e93c035a80092e6fe1c9b4edfe3edba2ba8b73aa981f134a1994e70412ed1"
        "342207f991610ef9ca9739fcb322f324");
inline constexpr auto kKcdsaSha224X = hex("226ff5af4a96a270dde6471daf581ea891b58d94c14dee0872848565");
inline constexpr auto kKcdsaSha224Y =
    hex("057222deb1ff792b0e14f4db4499d4a4f668e6407a85d69e0ef3e9063fc1b637f87c9a5fb8cf304d34c33b5b8c87486d"
        "c42bc98b79f754774cf6d79d0d90076b56b4c1e5e93c9afaf755518c111c9dbd6fc954ce02fd5ccc158db89a5e96142a"
        "6f8c271c52d1f5de033832affc44f2606bcb4dc44f7c882c51d7127d1d157d689780bb2c833c196c36f20f27e5b9c205"
        "a33ff225b4a104eb6d2eb9da09f2724b9d30025f8b344e7f77b80884be5eb7b71d4eeb6edf105c3ca12ad3410471b246"
        "474fbe697c395256d1ba77277e62068b6827e02fd1883c399f562fbe76c49b2d6fad25c5af66d1204f9e64fad797f57d"
        "fd6647c2d7bd70cc848744fd490b92a1");

inline constexpr auto kKcdsaSha256P =
    hex("8fc3dd39f1eb67436524503260c8f561c3df7aaa55c6b7695aced51d2ed107344c86290c46e749b3612a304fa9aebcac"
        "858f6f732a95f4a2471348ad1fc1baf8708e9d7f3977f3eb978e50b426cf36abe22da6c4973489c8e561f092074df25b"
        "91520b798aa46c7c3f95ecd5b5436f7f660fecf957168af75db5025be1218cbbb6e8c22164154a4a107e5bdc80a26f7e"
        "58ded90ec0e5797eb1a335adca8c1c653ed0d28638730064a1a5622dbf7aef2573d10d519c4ada4572cab694d9cfb228"
        "f678dd47a2d15faae1570fd0ced042775b3f6bbccb24a994c27a27bf2ce832027f5b4e4bfcdc74b79d606fee203f3962"
        "d7774201b81646f554dd765ebae2c5eb");
inline constexpr auto kKcdsaSha256Q = hex("884460255c6079174fc9df905f36387cf284202b089f5a1b5618e0047edb965d");
inline constexpr auto kKcdsaSha256G =
    hex("75d6337a746cb90dd912aa5d308d05f82c3316e6d661d0bc0938e676474e65a6b5ee97b0e0ce402fb32362245fce0406"
        "19c0db353bf2ac9de98bbcf3c0edd15c65fe3bed4c428db9539961032125780eb4dc9ef59d9eb866f91ab4ff603de81f"
        "14d6d9f473ceac03df848a102eb2b60e04de7ad0a1cf8d1de00c88e6ae962fd3906c8649a98da4e5d99588f1593d84c0"
        "c636e0b1ce28c3ccabd6e35cc7ec788076b181cae1f718768e6f90b74b0e7c870b0be279b510be79dc07819a4d6f89d5"
        "d799b3e007544564abd435e98e9b5618aaa48f5527dd20e0676a31288269e3f1b7bc655a518ad896878591924344bb09"
        "d86785a9c7ef8159c5cf15791d542353");
inline constexpr auto kKcdsaSha256X = hex("07a825e290f083b9bc34f194f5df001c20edee39769f2d42d2865183b606afac");
inline constexpr auto kKcdsaSha256Y =
    hex("00ecedae2545b06fe59263185c995f507ef459fd902d3c4fc8545d2e702532b4e2fafe549e64366890e5380e86631c7a"
        "5d605d74cd117c7d52a8f454ec7b5d88dd760bfb9f1125f5e1df5443702689d8765353700a35b6da73cff202b800f984"
        "e62f2436c2740c68fce4cfbdff08ba44a5d257da7ca06546623f50a3b9b88074d75e31b2252e4a2fc35a362c58f9f1dd"
        "1417782762c5ee2651a2daf4be37887d66bc03bf09c87c1b6c92e1343bbd74533bb27971e3032f2dab81cef02b5d688c"
        "36c691b27a1e0c9149ff67740c87f04199f923680723d72d6cac04a010d6e7799752073ecf606e5346bc1967f7f29d0a"
        "a4aed69e97fef45485751eae2558864b");

inline constexpr kcdsa_key kKcdsaKeys[] = {
    {ZRC_SHA224, kKcdsaSha224P, kKcdsaSha224Q, kKcdsaSha224G, kKcdsaSha224X, kKcdsaSha224Y},
    {ZRC_SHA256, kKcdsaSha256P, kKcdsaSha256Q, kKcdsaSha256G, kKcdsaSha256X, kKcdsaSha256Y},
};

} // namespace zrc
