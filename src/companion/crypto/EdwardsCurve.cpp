#include "companion/crypto/EdwardsCurve.h"

#include "companion/crypto/OpensslPtr.h"

#include <string>

namespace {

// A curve a·x² + y² = 1 + d·x²·y² over the prime p, with its base point and
// the order of the group that point generates.
struct CurveConstants {
    const char* p;
    const char* d;
    int a;
    const char* order;
    const char* baseX;
    const char* baseY;
    size_t encodedLength;
};

constexpr CurveConstants kEd25519{
    "7fffffffffffffffffffffffffffffffffffffffffffffffffffffffffffffed",
    "52036cee2b6ffe738cc740797779e89800700a4d4141d8ab75eb4dca135978a3",
    -1,
    "1000000000000000000000000000000014def9dea2f79cd65812631a5cf5d3ed",
    "216936d3cd6e53fec0a4e231fdd6dc5c692cc7609525a7b2c9562d608f25d51a",
    "6666666666666666666666666666666666666666666666666666666666666658",
    32,
};

constexpr CurveConstants kEd448{
    "fffffffffffffffffffffffffffffffffffffffffffffffffffffffeffffffffffffffffffffffffffffffffffffffffffffffffffffffff",
    "fffffffffffffffffffffffffffffffffffffffffffffffffffffffeffffffffffffffffffffffffffffffffffffffffffffffffffff6756",
    1,
    "3fffffffffffffffffffffffffffffffffffffffffffffffffffffff7cca23e9c44edb49aed63690216cc2728dc58f552378c292ab5844f3",
    "4f1970c66bed0ded221d15a622bf36da9e146570470f1767ea6de324a3d3a46412ae1af72ab66511433b80e18b00938e2626a82bc70cc05e",
    "693f46716eb6bc248876203756c9c7624bea73736ca3984087789c1e05a0c2d73ad3ff1ce67c39c4fdbd132c4ed7c8ad9808795bf230fa14",
    57,
};

const CurveConstants& constantsOf(EdwardsCurve curve) {
    return curve == EdwardsCurve::Ed25519 ? kEd25519 : kEd448;
}

BnPtr fromHex(const char* hex) {
    BIGNUM* bn = nullptr;
    BN_hex2bn(&bn, hex);
    return BnPtr(bn);
}

BnPtr fromLittleEndian(std::string_view bytes) {
    return BnPtr(
        BN_lebin2bn(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()), nullptr));
}

// A point in projective coordinates (X:Y:Z), x = X/Z and y = Y/Z.
struct Point {
    BnPtr x{BN_new()}, y{BN_new()}, z{BN_new()};
};

// Arithmetic on one curve. Verification handles public values only, so
// nothing here needs to run in constant time.
class Curve {
public:
    explicit Curve(const CurveConstants& c)
        : m_p(fromHex(c.p)), m_d(fromHex(c.d)), m_order(fromHex(c.order)), m_a(c.a) {
        m_base = point(fromHex(c.baseX), fromHex(c.baseY));
    }

    bool valid() const { return m_p && m_d && m_order && m_base.x && m_base.y && m_base.z && m_ctx; }
    const BIGNUM* order() const { return m_order.get(); }
    const Point& base() const { return m_base; }

    // RFC 8032 5.1.3 and 5.2.3: y with the sign of x in the top bit.
    bool decode(std::string_view encoded, Point& out) {
        std::string bytes(encoded);
        const bool xOdd = (static_cast<unsigned char>(bytes.back()) & 0x80) != 0;
        bytes.back() = static_cast<char>(static_cast<unsigned char>(bytes.back()) & 0x7f);
        BnPtr y = fromLittleEndian(bytes);
        if (!y || BN_cmp(y.get(), m_p.get()) >= 0)
            return false;
        // x² = (y² − 1) / (d·y² − a)
        BnPtr yy = mul(y.get(), y.get());
        BnPtr u = sub(yy.get(), BN_value_one());
        BnPtr a = small(m_a);
        BnPtr v = sub(mul(m_d.get(), yy.get()).get(), a.get());
        BnPtr vInverse(BN_mod_inverse(nullptr, v.get(), m_p.get(), m_ctx.get()));
        if (!vInverse)
            return false;
        BnPtr xx = mul(u.get(), vInverse.get());
        BnPtr x(BN_mod_sqrt(nullptr, xx.get(), m_p.get(), m_ctx.get()));
        if (!x || BN_cmp(mul(x.get(), x.get()).get(), xx.get()) != 0)
            return false;
        if (BN_is_zero(x.get()) && xOdd)
            return false;
        if ((BN_is_odd(x.get()) != 0) != xOdd)
            x = sub(m_p.get(), x.get());
        out = point(std::move(x), std::move(y));
        return true;
    }

    // Complete addition in projective coordinates (Bernstein and Lange,
    // add-2007-bl): it holds for doubling and the neutral point too.
    Point add(const Point& p, const Point& q) {
        BnPtr a = mul(p.z.get(), q.z.get());
        BnPtr b = mul(a.get(), a.get());
        BnPtr c = mul(p.x.get(), q.x.get());
        BnPtr d = mul(p.y.get(), q.y.get());
        BnPtr e = mul(mul(m_d.get(), c.get()).get(), d.get());
        BnPtr f = sub(b.get(), e.get());
        BnPtr g = addMod(b.get(), e.get());
        BnPtr cross = mul(addMod(p.x.get(), p.y.get()).get(), addMod(q.x.get(), q.y.get()).get());
        Point r;
        r.x = mul(mul(a.get(), f.get()).get(), sub(sub(cross.get(), c.get()).get(), d.get()).get());
        r.y = mul(mul(a.get(), g.get()).get(), m_a < 0 ? addMod(d.get(), c.get()).get() : sub(d.get(), c.get()).get());
        r.z = mul(f.get(), g.get());
        return r;
    }

    Point multiply(const BIGNUM* k, const Point& p) {
        Point r = point(small(0), small(1));
        for (int bit = BN_num_bits(k) - 1; bit >= 0; --bit) {
            r = add(r, r);
            if (BN_is_bit_set(k, bit))
                r = add(r, p);
        }
        return r;
    }

    bool equal(const Point& p, const Point& q) {
        return BN_cmp(mul(p.x.get(), q.z.get()).get(), mul(q.x.get(), p.z.get()).get()) == 0 &&
               BN_cmp(mul(p.y.get(), q.z.get()).get(), mul(q.y.get(), p.z.get()).get()) == 0;
    }

    BnPtr reduce(const BIGNUM* k, const BIGNUM* modulus) {
        BnPtr r(BN_new());
        BN_nnmod(r.get(), k, modulus, m_ctx.get());
        return r;
    }

private:
    Point point(BnPtr x, BnPtr y) {
        Point r;
        r.x = std::move(x);
        r.y = std::move(y);
        r.z = small(1);
        return r;
    }
    BnPtr small(int value) {
        BnPtr r(BN_new());
        BN_set_word(r.get(), static_cast<BN_ULONG>(value < 0 ? -value : value));
        if (value < 0)
            BN_mod_sub(r.get(), m_p.get(), r.get(), m_p.get(), m_ctx.get());
        return r;
    }
    BnPtr mul(const BIGNUM* x, const BIGNUM* y) {
        BnPtr r(BN_new());
        BN_mod_mul(r.get(), x, y, m_p.get(), m_ctx.get());
        return r;
    }
    BnPtr addMod(const BIGNUM* x, const BIGNUM* y) {
        BnPtr r(BN_new());
        BN_mod_add(r.get(), x, y, m_p.get(), m_ctx.get());
        return r;
    }
    BnPtr sub(const BIGNUM* x, const BIGNUM* y) {
        BnPtr r(BN_new());
        BN_mod_sub(r.get(), x, y, m_p.get(), m_ctx.get());
        return r;
    }

    BnCtxPtr m_ctx{BN_CTX_new()};
    BnPtr m_p, m_d, m_order;
    int m_a;
    Point m_base;
};

} // namespace

namespace edwards_curve {

size_t encodedLength(EdwardsCurve curve) {
    return constantsOf(curve).encodedLength;
}

bool groupEquationHolds(EdwardsCurve curve, std::string_view r, std::string_view a, std::string_view s,
                        std::string_view k) {
    const size_t length = encodedLength(curve);
    if (r.size() != length || a.size() != length || s.size() != length)
        return false;
    Curve c(constantsOf(curve));
    Point rPoint, aPoint;
    BnPtr sScalar = fromLittleEndian(s), kScalar = fromLittleEndian(k);
    if (!c.valid() || !sScalar || !kScalar || BN_cmp(sScalar.get(), c.order()) >= 0 || !c.decode(r, rPoint) ||
        !c.decode(a, aPoint))
        return false;
    BnPtr kReduced = c.reduce(kScalar.get(), c.order());
    const Point left = c.multiply(sScalar.get(), c.base());
    const Point right = c.add(rPoint, c.multiply(kReduced.get(), aPoint));
    return c.equal(left, right);
}

} // namespace edwards_curve
