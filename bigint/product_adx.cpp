// Product kernel for x86-64 with MULX, ADCX and ADOX: rows of eight limbs, the low and the high halves of their
// products added in two carry chains side by side.
#include "bigint/product.hpp"
#include "core/secret.hpp"

namespace zrc {
namespace {

constexpr std::size_t kBlock = 8; // limbs

// One row: the eight limbs at (%rsi) times limb `i` of b (%rcx) are added to the accumulator c0 to c7, by ADD_R limb
// `i` of r (%rdi), too. The lowest limb is then complete and goes to r; its register becomes the highest limb.
// Nothing is lost: (2^512 - 1) + (2^512 - 1)(2^64 - 1) + (2^64 - 1) = 2^576 - 1.
#define ADD_R(i, c0) "adox 8*" #i "(%%rdi), %%" #c0 "\n\t"
#define LEAVE_R(i, c0)
#define ROW_STEP(at, low, high)                                                                                        \
    "mulx " #at "(%%rsi), %%rax, %%rbx\n\t"                                                                            \
    "adcx %%rax, %%" #low "\n\t"                                                                                       \
    "adox %%rbx, %%" #high "\n\t"
// clang-format off
#define ROW(with_r, i, c0, c1, c2, c3, c4, c5, c6, c7)                                                                 \
    "xorl %%eax, %%eax\n\t"                                                                                            \
    "movq 8*" #i "(%%rcx), %%rdx\n\t"                                                                                  \
    with_r(i, c0)                                                                                                      \
    ROW_STEP(0, c0, c1)                                                                                                \
    "movq %%" #c0 ", 8*" #i "(%%rdi)\n\t"                                                                              \
    ROW_STEP(8, c1, c2) ROW_STEP(16, c2, c3) ROW_STEP(24, c3, c4)                                                      \
    ROW_STEP(32, c4, c5) ROW_STEP(40, c5, c6) ROW_STEP(48, c6, c7)                                                     \
    "mulx 56(%%rsi), %%rax, %%" #c0 "\n\t"                                                                             \
    "adcx %%rax, %%" #c7 "\n\t"                                                                                        \
    "movl $0, %%eax\n\t"                                                                                               \
    "adcx %%rax, %%" #c0 "\n\t"                                                                                        \
    "adox %%rax, %%" #c0 "\n\t"
#define BLOCK_ROW(with_r)                                                                                              \
    "xorl %%r8d, %%r8d\n\t"                                                                                            \
    "xorl %%r9d, %%r9d\n\t"                                                                                            \
    "xorl %%r10d, %%r10d\n\t"                                                                                          \
    "xorl %%r11d, %%r11d\n\t"                                                                                          \
    "xorl %%r12d, %%r12d\n\t"                                                                                          \
    "xorl %%r13d, %%r13d\n\t"                                                                                          \
    "xorl %%r14d, %%r14d\n\t"                                                                                          \
    "xorl %%r15d, %%r15d\n\t"                                                                                          \
    ".p2align 5\n"                                                                                                     \
    "1:\n\t"                                                                                                           \
    ROW(with_r, 0, r8, r9, r10, r11, r12, r13, r14, r15)                                                               \
    ROW(with_r, 1, r9, r10, r11, r12, r13, r14, r15, r8)                                                               \
    ROW(with_r, 2, r10, r11, r12, r13, r14, r15, r8, r9)                                                               \
    ROW(with_r, 3, r11, r12, r13, r14, r15, r8, r9, r10)                                                               \
    ROW(with_r, 4, r12, r13, r14, r15, r8, r9, r10, r11)                                                               \
    ROW(with_r, 5, r13, r14, r15, r8, r9, r10, r11, r12)                                                               \
    ROW(with_r, 6, r14, r15, r8, r9, r10, r11, r12, r13)                                                               \
    ROW(with_r, 7, r15, r8, r9, r10, r11, r12, r13, r14)                                                               \
    "addq $64, %%rcx\n\t"                                                                                              \
    "addq $64, %%rdi\n\t"                                                                                              \
    "decq %[blocks]\n\t"                                                                                               \
    "jnz 1b\n\t"                                                                                                       \
    "movq %%r8, 0(%%rdi)\n\t"                                                                                          \
    "movq %%r9, 8(%%rdi)\n\t"                                                                                          \
    "movq %%r10, 16(%%rdi)\n\t"                                                                                        \
    "movq %%r11, 24(%%rdi)\n\t"                                                                                        \
    "movq %%r12, 32(%%rdi)\n\t"                                                                                        \
    "movq %%r13, 40(%%rdi)\n\t"                                                                                        \
    "movq %%r14, 48(%%rdi)\n\t"                                                                                        \
    "movq %%r15, 56(%%rdi)\n\t"
// clang-format on
#define BLOCK_ROW_REGISTERS "rax", "rbx", "rdx", "r8", "r9", "r10", "r11", "r12", "r13", "r14", "r15", "cc", "memory"

// The rows below leave no register free to address what a sanitizer moves: the counter stays in the ordinary frame.

// r = a b for a of one block and b of `b_blocks` blocks, 1 or more.
// NOLINTNEXTLINE(readability-non-const-parameter): the statement below writes r
[[gnu::noinline, gnu::no_sanitize_address]] void first_block_row(stored_limb* r, const stored_limb* a,
                                                                 const stored_limb* b, std::size_t b_blocks) noexcept
{
    __asm__ __volatile__(BLOCK_ROW(LEAVE_R) : "+D"(r), "+c"(b), [blocks] "+m"(b_blocks) : "S"(a) : BLOCK_ROW_REGISTERS);
}

// r += a b; the highest block of r takes the rest, whatever it held before.
// NOLINTNEXTLINE(readability-non-const-parameter): the statement below writes r
[[gnu::noinline, gnu::no_sanitize_address]] void add_block_row(stored_limb* r, const stored_limb* a,
                                                               const stored_limb* b, std::size_t b_blocks) noexcept
{
    __asm__ __volatile__(BLOCK_ROW(ADD_R) : "+D"(r), "+c"(b), [blocks] "+m"(b_blocks) : "S"(a) : BLOCK_ROW_REGISTERS);
}
#undef BLOCK_ROW_REGISTERS
#undef BLOCK_ROW
#undef ADD_R
#undef LEAVE_R
#undef ROW
#undef ROW_STEP

// The square of one block. First the products of different limbs, row after row as above: those of limb i reach the
// limbs 2 i + 1 to i + 8 of the result. Then all are doubled in one carry chain while the other adds the squares.
#define FIRST(at, low, high)                                                                                           \
    "mulx " #at "(%%rsi), %%rax, %%" #high "\n\t"                                                                      \
    "adcx %%rax, %%" #low "\n\t"
#define NEXT(at, low, high)                                                                                            \
    "mulx " #at "(%%rsi), %%rax, %%rbx\n\t"                                                                            \
    "adcx %%rax, %%" #low "\n\t"                                                                                       \
    "adox %%rbx, %%" #high "\n\t"
#define LAST(low, high)                                                                                                \
    "mulx 56(%%rsi), %%rax, %%" #high "\n\t"                                                                           \
    "adcx %%rax, %%" #low "\n\t"                                                                                       \
    "movl $0, %%eax\n\t"                                                                                               \
    "adcx %%rax, %%" #high "\n\t"                                                                                      \
    "adox %%rax, %%" #high "\n\t"
#define LIMB(at)                                                                                                       \
    "xorl %%eax, %%eax\n\t"                                                                                            \
    "movq " #at "(%%rsi), %%rdx\n\t"
#define STORE(register, at) "movq %%" #register ", " #at "(%%rdi)\n\t"
#define DOUBLE_AND_ADD(at, low, high)                                                                                  \
    "movq " #at "(%%rsi), %%rdx\n\t"                                                                                   \
    "mulx %%rdx, %%rax, %%rbx\n\t"                                                                                     \
    "adcx %%" #low ", %%" #low "\n\t"                                                                                  \
    "adox %%rax, %%" #low "\n\t"                                                                                       \
    "movq %%" #low ", 2*" #at "(%%rdi)\n\t"                                                                            \
    "adcx %%" #high ", %%" #high "\n\t"                                                                                \
    "adox %%rbx, %%" #high "\n\t"                                                                                      \
    "movq %%" #high ", 2*" #at "+8(%%rdi)\n\t"
// NOLINTNEXTLINE(readability-non-const-parameter): the statement below writes r
[[gnu::noinline]] void square_block(stored_limb* r, const stored_limb* a) noexcept
{
    // clang-format off
    __asm__ __volatile__(
        LIMB(0)
        "mulx 8(%%rsi), %%r8, %%r9\n\t"
        FIRST(16, r9, r10) FIRST(24, r10, r11) FIRST(32, r11, r12) FIRST(40, r12, r13) FIRST(48, r13, r14)
        LAST(r14, r15)
        STORE(r8, 8) STORE(r9, 16)
        LIMB(8)
        NEXT(16, r10, r11) NEXT(24, r11, r12) NEXT(32, r12, r13) NEXT(40, r13, r14) NEXT(48, r14, r15) LAST(r15, r8)
        STORE(r10, 24) STORE(r11, 32)
        LIMB(16)
        NEXT(24, r12, r13) NEXT(32, r13, r14) NEXT(40, r14, r15) NEXT(48, r15, r8) LAST(r8, r9)
        STORE(r12, 40) STORE(r13, 48)
        LIMB(24)
        NEXT(32, r14, r15) NEXT(40, r15, r8) NEXT(48, r8, r9) LAST(r9, r10)
        LIMB(32)
        NEXT(40, r8, r9) NEXT(48, r9, r10) LAST(r10, r11)
        LIMB(40)
        NEXT(48, r10, r11) LAST(r11, r12)
        LIMB(48)
        LAST(r12, r13)
        // Limbs 7 to 14 are in r14, r15, r8 to r13; limb 15 is empty.
        "movq %%r13, %[limb14]\n\t"
        "movq 8(%%rdi), %%r13\n\t"
        "xorl %%ecx, %%ecx\n\t"
        DOUBLE_AND_ADD(0, rcx, r13)
        "movq 16(%%rdi), %%rcx\n\t" "movq 24(%%rdi), %%r13\n\t"
        DOUBLE_AND_ADD(8, rcx, r13)
        "movq 32(%%rdi), %%rcx\n\t" "movq 40(%%rdi), %%r13\n\t"
        DOUBLE_AND_ADD(16, rcx, r13)
        "movq 48(%%rdi), %%rcx\n\t"
        DOUBLE_AND_ADD(24, rcx, r14)
        DOUBLE_AND_ADD(32, r15, r8)
        DOUBLE_AND_ADD(40, r9, r10)
        DOUBLE_AND_ADD(48, r11, r12)
        "movq %[limb14], %%rcx\n\t" "movl $0, %%r13d\n\t"
        DOUBLE_AND_ADD(56, rcx, r13)
        : [limb14] "=m"(r[14])
        : "D"(r), "S"(a)
        : "rax", "rbx", "rcx", "rdx", "r8", "r9", "r10", "r11", "r12", "r13", "r14", "r15", "cc", "memory");
    // clang-format on
}
#undef FIRST
#undef NEXT
#undef LAST
#undef LIMB
#undef STORE
#undef DOUBLE_AND_ADD

struct carries {
    limb doubling, adding;
};

// r = 2 r + addend over two blocks, with what comes from below; returns what goes above. One carry chain doubles, the
// other one adds.
#define STEP(at)                                                                                                       \
    "movq " #at "(%[r]), %%rax\n\t"                                                                                    \
    "adcx %%rax, %%rax\n\t"                                                                                            \
    "adox " #at "(%[addend]), %%rax\n\t"                                                                               \
    "movq %%rax, " #at "(%[r])\n\t"
// NOLINTNEXTLINE(readability-non-const-parameter): the statement below writes r
carries double_and_add(stored_limb* r, const limb* addend, carries below) noexcept
{
    __asm__ __volatile__("xorl %%eax, %%eax\n\t"
                         "movq $-1, %%rax\n\t"
                         "adcx %%rax, %[doubling]\n\t" // sets the carry of its chain from 0 or 1
                         "adox %%rax, %[adding]\n\t" // clang-format off
                         STEP(0) STEP(8) STEP(16) STEP(24) STEP(32) STEP(40) STEP(48) STEP(56) STEP(64) STEP(72)
                         STEP(80) STEP(88) STEP(96) STEP(104) STEP(112) STEP(120) // clang-format on
                         "movl $0, %k[doubling]\n\t"
                         "movl $0, %k[adding]\n\t"
                         "adcx %[doubling], %[doubling]\n\t"
                         "adox %[adding], %[adding]\n\t"
                         : [doubling] "+r"(below.doubling), [adding] "+r"(below.adding)
                         : [r] "r"(r), [addend] "r"(addend)
                         : "rax", "cc", "memory");
    return below;
}
#undef STEP

// For operands of which one has no whole block.
void multiply_rows(stored_limb* r, const stored_limb* a, std::size_t na, const stored_limb* b, std::size_t nb) noexcept
{
    r[na] = mul_1(r, a, na, b[0]);
    for (std::size_t i = 1; i < nb; ++i)
        r[na + i] = addmul_1(r + i, a, na, b[i]);
}

void multiply_adx(stored_limb* r, const stored_limb* a, std::size_t na, const stored_limb* b, std::size_t nb) noexcept
{
    const std::size_t a_whole = na - na % kBlock, b_whole = nb - nb % kBlock;
    if (b_whole == 0) return multiply_rows(r, a, na, b, nb);
    if (a_whole == 0) return multiply_rows(r, b, nb, a, na);

    first_block_row(r, a, b, b_whole / kBlock);
    for (std::size_t i = kBlock; i < a_whole; i += kBlock)
        add_block_row(r + i, a + i, b, b_whole / kBlock);
    for (std::size_t i = b_whole; i < nb; ++i)
        r[a_whole + i] = addmul_1(r + i, a, a_whole, b[i]);
    for (std::size_t i = a_whole; i < na; ++i)
        r[nb + i] = addmul_1(r + i, b, nb, a[i]);
}

void square_adx(stored_limb* r, const stored_limb* a, std::size_t n) noexcept
{
    const std::size_t whole = n - n % kBlock;
    if (whole == 0) return kPortableProduct.square(r, a, n);
    if (n == kBlock) return square_block(r, a);

    // Products of different blocks, which stand in the limbs between the first and the last block of r.
    if (whole > kBlock) first_block_row(r + kBlock, a, a + kBlock, whole / kBlock - 1);
    for (std::size_t i = kBlock; i + kBlock < whole; i += kBlock)
        add_block_row(r + 2 * i + kBlock, a + i, a + i + kBlock, (whole - i) / kBlock - 1);
    rows<limb>::clear(r, kBlock);
    rows<limb>::clear(r + 2 * whole - kBlock, kBlock);
    // They are doubled, and the squares of blocks added.
    secret_array<limb, 2 * kBlock> block_square;
    carries from_below{0, 0};
    for (std::size_t i = 0; i < whole; i += kBlock) {
        square_block(block_square.data(), a + i);
        from_below = double_and_add(r + 2 * i, block_square.data(), from_below);
    }
    if (n == whole) return;

    // (a' + x)^2 for each limb x that is left over: 2 x a' + x^2.
    for (std::size_t i = whole; i < n; ++i) {
        const limb x = a[i];
        r[2 * i] = addmul_1(r + i, a, i, x);
        r[2 * i + 1] = 0;
        limb carry = addmul_1(r + i, a, i, x);
        const double_limb top = double_limb{x} * x + r[2 * i] + carry;
        r[2 * i] = limb(top);
        r[2 * i + 1] = limb(top >> kLimbBits);
    }
}

} // namespace

// One chain adds the halves of neighbouring products, the other adds the sums to r.
limb add_multiple_adx(stored_limb* r, const stored_limb* a, std::size_t n, limb w) noexcept
{
    limb above = addmul_1(r, a, n % kBlock, w), low, high;
    if (n < kBlock) return above;
    r += n % kBlock;
    a += n % kBlock;
    n /= kBlock;
#define STEP(at, below, here)                                                                                          \
    "mulx " #at "(%[a]), %[low], %[" #here "]\n\t"                                                                     \
    "adcx %[" #below "], %[low]\n\t"                                                                                   \
    "adox " #at "(%[r]), %[low]\n\t"                                                                                   \
    "movq %[low], " #at "(%[r])\n\t"
    __asm__ __volatile__(
        "xorl %k[low], %k[low]\n\t" // no carry in either chain
        ".p2align 4\n"
        "1:\n\t" // clang-format off
                         STEP(0, above, high) STEP(8, high, above) STEP(16, above, high) STEP(24, high, above)
                         STEP(32, above, high) STEP(40, high, above) STEP(48, above, high) STEP(56, high, above)
                         "leaq 64(%[a]), %[a]\n\t" // clang-format on
                                      "leaq 64(%[r]), %[r]\n\t"
                                      "leaq -1(%[n]), %[n]\n\t"
                                      "jrcxz 2f\n\t"
                                      "jmp 1b\n"
                                      "2:\n\t"
                                      "movl $0, %k[low]\n\t"
                                      "adcx %[low], %[above]\n\t"
                                      "adox %[low], %[above]\n\t"
        : [r] "+r"(r), [a] "+r"(a), [n] "+c"(n), [above] "+r"(above), [low] "=&r"(low), [high] "=&r"(high)
        : "d"(w)
        : "cc", "memory");
#undef STEP
    return above;
}

constinit const product_kernel kAdxProduct{multiply_adx, square_adx, add_multiple_adx, 64, 64};

} // namespace zrc
