#include "mt2203/polynomial.h"

#include <bit>
#include <bitset>
#include <utility>
#include <wmmintrin.h>

namespace mt2203 {
namespace {

constexpr int pairs = words / 2;

Polynomial shifted(const Polynomial& p, int bits) {
  Polynomial out = {};
  const int whole = bits / 64;
  const int part = bits % 64;
  for (int i = words - 1; i >= whole; --i) {
    out[i] = p[i - whole] << part;
    if (part != 0 && i > whole) out[i] |= p[i - whole - 1] >> (64 - part);
  }
  return out;
}

Polynomial sum(Polynomial a, const Polynomial& b) {
  for (int i = 0; i < words; ++i)
    a[i] ^= b[i];
  return a;
}

// p (x^high + x^low), which must stay below x^2304.
Polynomial timesBinomial(const Polynomial& p, int high, int low) {
  return sum(shifted(p, high), shifted(p, low));
}

struct Terms {
  Polynomial leading;
  Polynomial of[32];  // what a_i is multiplied by
};

Terms makeTerms() {
  Terms terms = {};
  Polynomial u = {1};
  for (int i = 31; i >= 5; --i) {
    terms.of[i] = u;
    u = timesBinomial(u, 69, 34);
  }
  for (int i = 4; i >= 0; --i) {
    terms.of[i] = u;
    u = timesBinomial(u, 68, 33);
  }
  terms.leading = u;
  return terms;
}

// Arithmetic modulo f in Montgomery's form: a stands for a x^2304. The constant coefficient of f is 1.
class Modulus {
 public:
  explicit Modulus(const Polynomial& f) : f_(prepare(f)) {
    const std::bitset<128> low = std::bitset<128>(f[1]) << 64 | std::bitset<128>(f[0]);
    std::bitset<128> rest(1);
    std::uint64_t inverse[2] = {};
    for (std::size_t i = 0; i < 128; ++i)
      if (rest[i]) {
        inverse[i / 64] |= std::uint64_t{1} << i % 64;
        rest ^= low << i;
      }
    inverse_ = _mm_loadu_si128(reinterpret_cast<const __m128i*>(inverse));
  }

  Polynomial multiply(const Polynomial& a, const Polynomial& b) const {
    const Factor factor = prepare(b);
    __m128i product[2 * pairs + 1] = {};
    for (int i = 0; i < pairs; ++i)
      addProduct(load(a, i), factor, product + i);
    return reduce(product);
  }

  Polynomial square(const Polynomial& a) const {
    __m128i product[2 * pairs + 1];
    for (int i = 0; i < pairs; ++i) {
      const __m128i pair = load(a, i);
      product[2 * i] = _mm_clmulepi64_si128(pair, pair, 0x00);
      product[2 * i + 1] = _mm_clmulepi64_si128(pair, pair, 0x11);
    }
    return reduce(product);
  }

 private:
  // A factor of many products: its pairs of words, and the sums of each pair.
  struct Factor {
    __m128i pair[pairs];
    __m128i sums[pairs];
  };

  static __m128i load(const Polynomial& p, int pair) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p.word + std::ptrdiff_t{2} * pair));
  }

  static __m128i sumOfWords(__m128i pair) { return _mm_xor_si128(pair, _mm_srli_si128(pair, 8)); }

  static Factor prepare(const Polynomial& p) {
    Factor factor;
    for (int i = 0; i < pairs; ++i) {
      factor.pair[i] = load(p, i);
      factor.sums[i] = sumOfWords(factor.pair[i]);
    }
    return factor;
  }

  // to += t p, by three products of words for every pair (A. Karatsuba, Y. Ofman, 1962).
  static void addProduct(__m128i t, const Factor& p, __m128i* to) {
    const __m128i ts = sumOfWords(t);
    __m128i carry = _mm_setzero_si128();
    for (int j = 0; j < pairs; ++j) {
      const __m128i low = _mm_clmulepi64_si128(t, p.pair[j], 0x00);
      const __m128i high = _mm_clmulepi64_si128(t, p.pair[j], 0x11);
      const __m128i middle =
          _mm_xor_si128(_mm_xor_si128(low, high), _mm_clmulepi64_si128(ts, p.sums[j], 0x00));
      const __m128i here = _mm_xor_si128(_mm_xor_si128(low, carry), _mm_slli_si128(middle, 8));
      to[j] = _mm_xor_si128(to[j], here);
      carry = _mm_xor_si128(high, _mm_srli_si128(middle, 8));
    }
    to[pairs] = _mm_xor_si128(to[pairs], carry);
  }

  // product / x^2304 modulo f: adds multiples of f that clear the low half, pair by pair.
  Polynomial reduce(__m128i* product) const {
    for (int i = 0; i < pairs; ++i) {
      const __m128i low = product[i];
      const __m128i middle =
          _mm_xor_si128(_mm_clmulepi64_si128(low, inverse_, 0x01), _mm_clmulepi64_si128(low, inverse_, 0x10));
      const __m128i t = _mm_xor_si128(_mm_clmulepi64_si128(low, inverse_, 0x00), _mm_slli_si128(middle, 8));
      addProduct(t, f_, product + i);
    }
    Polynomial out;
    for (int i = 0; i < pairs; ++i)
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out.word + std::ptrdiff_t{2} * i), product[pairs + i]);
    return out;
  }

  Factor f_;
  __m128i inverse_;  // of f modulo x^128
};

// x in Montgomery's form: x^2305 modulo f.
Polynomial montgomeryX(const Polynomial& f) {
  Polynomial p = shifted({1}, degree - 1);
  for (int power = degree - 1; power < 64 * words + 1; ++power) {
    p = shifted(p, 1);
    if ((p[degree / 64] >> (degree % 64) & 1) != 0) p = sum(p, f);
  }
  return p;
}

// Whether odd polynomials a and b (constant coefficient 1) have no common factor, by the binary algorithm.
bool areCoprime(Polynomial a, Polynomial b) {
  int lengthA = words;
  int lengthB = words;
  for (;;) {
    while (lengthA > 0 && a[lengthA - 1] == 0)
      --lengthA;
    while (lengthB > 0 && b[lengthB - 1] == 0)
      --lengthB;
    if (lengthA == 0) return lengthB == 1 && b[0] == 1;
    if (lengthA < lengthB || (lengthA == lengthB && a[lengthA - 1] < b[lengthA - 1])) {
      std::swap(a, b);
      std::swap(lengthA, lengthB);
    }
    for (int i = 0; i < lengthB; ++i)
      a[i] ^= b[i];
    int zeroWords = 0;
    while (zeroWords < lengthA && a[zeroWords] == 0)
      ++zeroWords;
    if (zeroWords == lengthA) {
      lengthA = 0;
      continue;
    }
    const int bits = std::countr_zero(a[zeroWords]);
    for (int i = 0; i < lengthA; ++i) {
      const int from = i + zeroWords;
      const std::uint64_t low = from < lengthA ? a[from] >> bits : 0;
      a[i] = from + 1 < lengthA && bits != 0 ? low | a[from + 1] << (64 - bits) : low;
    }
  }
}

// Divides out powers of x.
Polynomial oddPart(Polynomial p) {
  for (int i = 0; i < words; ++i)
    if (p[i] != 0) {
      const int zeros = 64 * i + std::countr_zero(p[i]);
      Polynomial out = {};
      for (int k = 0; k + i < words; ++k) {
        out[k] = p[k + i] >> (zeros % 64);
        if (zeros % 64 != 0 && k + i + 1 < words) out[k] |= p[k + i + 1] << (64 - zeros % 64);
      }
      return out;
    }
  return p;
}

}  // namespace

Polynomial characteristicPolynomial(std::uint32_t matrixA) {
  static const Terms terms = makeTerms();
  Polynomial f = terms.leading;
  for (int i = 0; i < 32; ++i)
    if ((matrixA >> i & 1) != 0) f = sum(f, terms.of[i]);
  return f;
}

// x^(2^k) - x is the product of all irreducible polynomials of degrees that divide k. Most candidates have a
// factor of moderate degree, which one greatest common divisor finds before the long way to k = 2203.
bool isIrreducible(const Polynomial& f, int sieved) {
  constexpr int moderate = 90;
  const Modulus modulus(f);
  const Polynomial x = montgomeryX(f);
  Polynomial power = x;
  Polynomial product = {};
  for (int k = 1; k <= moderate; ++k) {
    power = modulus.square(power);
    if (k == sieved + 1) product = sum(power, x);
    if (k > sieved + 1) product = modulus.multiply(product, sum(power, x));
  }
  if (!areCoprime(oddPart(product), f)) return false;
  for (int k = moderate + 1; k <= degree; ++k)
    power = modulus.square(power);
  return power == x;
}

}  // namespace mt2203
