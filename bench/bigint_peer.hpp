// Big numbers of this library and of its peers behind one face, and rows that time one operation on both.
//
// A library is a struct with its name, its type `number`, made of and giving bytes (big-endian, without zeros in
// front), and its type `scratch`, what its functions take for temporaries. An operation gets two results, the
// operands of a set, and the scratch.
#pragma once

#include "bench/comparison.hpp"
#include "kestrim_crypto.h"

#if KESTRIM_BENCH_GMP
#include <gmp.h>
#endif
#if KESTRIM_BENCH_MBEDTLS
#include <mbedtls/bignum.h>
#endif
#if KESTRIM_BENCH_OPENSSL
#include <openssl/bn.h>
#endif

#include <memory>
#include <random>
#include <string>
#include <vector>

namespace bench {

using bytes = std::vector<std::uint8_t>;
using operand_set = std::vector<bytes>;

constexpr std::size_t kLengths[] = {1024, 2048, 4096}; // bits

// The table counts bytes: with this number of them for an operation its columns are operations per second.
constexpr std::size_t kOperation = 1000000;

struct releaser {
    void operator()(ZRC_BIGINT* number) const { ZRC_Free_BIGINT(number); }
    void operator()(ZRC_BIGINT_POOL* pool) const { ZRC_Free_BIGINT_Pool(pool); }
#if KESTRIM_BENCH_OPENSSL
    void operator()(BIGNUM* number) const
    {
        BN_free(number);
    }
    void operator()(BN_CTX* context) const
    {
        BN_CTX_free(context);
    }
#endif
};

struct kestrim {
    class number {
    public:
        explicit number(const bytes& value = {0})
            : value_{ZRC_Binary_To_BIGINT(value.data(), std::int32_t(value.size()), nullptr)}
        {
        }
        operator ZRC_BIGINT*() const { return value_.get(); }
        bytes value() const
        {
            bytes result(ZRC_Get_BIGINT_Bits_Length(*this) / 8 + 1);
            result.resize(std::size_t(ZRC_BIGINT_To_Binary_Unsigned(*this, result.data())));
            return result;
        }

    private:
        std::unique_ptr<ZRC_BIGINT, releaser> value_;
    };

    class scratch {
    public:
        operator ZRC_BIGINT_POOL*() const { return pool_.get(); }

    private:
        std::unique_ptr<ZRC_BIGINT_POOL, releaser> pool_{ZRC_New_BIGINT_Pool()};
    };
};

#if KESTRIM_BENCH_GMP
struct gmp {
    static constexpr char kName[] = "GMP";

    class number {
    public:
        explicit number(const bytes& value = {})
        {
            mpz_init(value_);
            mpz_import(value_, value.size(), 1, 1, 1, 0, value.data());
        }
        number(number&& other) noexcept : number{} { mpz_swap(value_, other.value_); }
        number& operator=(number&&) = delete;
        ~number() { mpz_clear(value_); }
        operator mpz_ptr() { return value_; }
        operator mpz_srcptr() const { return value_; }
        bytes value() const
        {
            bytes result(mpz_sizeinbase(value_, 2) / 8 + 1);
            std::size_t count = 0;
            mpz_export(result.data(), &count, 1, 1, 1, 0, value_);
            result.resize(count);
            return result;
        }

    private:
        mpz_t value_;
    };

    struct scratch {};
};
#endif

#if KESTRIM_BENCH_OPENSSL
struct openssl {
    static constexpr char kName[] = "OpenSSL";

    class number {
    public:
        explicit number(const bytes& value = {}) : value_{BN_bin2bn(value.data(), int(value.size()), nullptr)} {}
        operator BIGNUM*() const { return value_.get(); }
        bytes value() const
        {
            bytes result(std::size_t(BN_num_bytes(*this)));
            BN_bn2bin(*this, result.data());
            return result;
        }

    private:
        std::unique_ptr<BIGNUM, releaser> value_;
    };

    class scratch {
    public:
        operator BN_CTX*() const { return context_.get(); }

    private:
        std::unique_ptr<BN_CTX, releaser> context_{BN_CTX_new()};
    };
};
#endif

#if KESTRIM_BENCH_MBEDTLS
struct mbedtls {
    static constexpr char kName[] = "MbedTLS";

    class number {
    public:
        explicit number(const bytes& value = {})
        {
            mbedtls_mpi_init(&value_);
            static_cast<void>(mbedtls_mpi_read_binary(&value_, value.data(), value.size()));
        }
        number(number&& other) noexcept : number{} { mbedtls_mpi_swap(&value_, &other.value_); }
        number& operator=(number&&) = delete;
        ~number() { mbedtls_mpi_free(&value_); }
        operator mbedtls_mpi*() { return &value_; }
        operator const mbedtls_mpi*() const { return &value_; }
        bytes value() const
        {
            bytes result(mbedtls_mpi_size(&value_));
            static_cast<void>(mbedtls_mpi_write_binary(&value_, result.data(), result.size()));
            return result;
        }

    private:
        mbedtls_mpi value_;
    };

    struct scratch {};
};
#endif

// Random operands, the same in every run.
class operand_source {
public:
    // `top` holds the top two bits: a number with 0xC0 is above one with 0x80.
    bytes number(std::size_t bits, std::uint8_t top, bool odd)
    {
        bytes result(bits / 8);
        for (std::uint8_t& byte : result)
            byte = std::uint8_t(engine_());
        result.front() = std::uint8_t(top | (result.front() & 0x3F));
        if (odd) result.back() |= 1;
        return result;
    }
    bytes number(std::size_t bits) { return number(bits, 0x80, false); }

private:
    std::mt19937_64 engine_{1};
};

// One operation on several sets of operands in turn, so that branches cannot be learnt by heart.
template <class Library, class Operation>
class repeated_operation {
public:
    using number = typename Library::number;

    repeated_operation(const std::vector<operand_set>& sets, Operation operation) : operation_{operation}
    {
        for (const operand_set& set : sets)
            operands_.emplace_back(set.begin(), set.end());
    }

    void operator()(output&)
    {
        operation_(results_, operands_[next_].data(), scratch_);
        if (++next_ == operands_.size()) next_ = 0;
    }

    std::vector<bytes> results() const { return {results_[0].value(), results_[1].value()}; }

private:
    Operation operation_;
    std::vector<std::vector<number>> operands_;
    std::size_t next_ = 0;
    number results_[2];
    typename Library::scratch scratch_;
};

// A row. Both sides have to give the same results for every set; the first result is never zero. The outputs that the
// table compares too stay empty: taking bytes out of a number takes longer than a multiplication.
template <class Peer>
void add_row(comparison& table, const std::string& row, const std::vector<operand_set>& sets, auto ours, auto peers)
{
    const auto make_ours = [=] { return repeated_operation<kestrim, decltype(ours)>{sets, ours}; };
    const auto make_peers = [=] { return repeated_operation<Peer, decltype(peers)>{sets, peers}; };
    auto our_side = make_ours();
    auto peer_side = make_peers();
    output unused{};
    for (std::size_t i = 0; i < sets.size(); ++i) {
        our_side(unused);
        peer_side(unused);
        if (our_side.results() == peer_side.results() && !our_side.results().front().empty()) continue;
        std::fprintf(stderr, "%s: the two sides differ\n", row.c_str());
        std::exit(1);
    }
    table.add(row, Peer::kName, kOperation, make_ours, make_peers);
}

} // namespace bench
