// The discrete cosine transform of eight samples, but for a factor of each coefficient that is left to what follows
// (Arai, Agui, Nakajima 1988): 5 multiplications and 29 additions. The inverse is the same graph run backwards.
#ifndef VESKARO_PIXELS_DCT_H
#define VESKARO_PIXELS_DCT_H

namespace veskaro::pixels {

constexpr int kDctSize = 8;

// 1 / (8 (1 + cos(pi k / 8))), 1 / 8 for k = 0: the square of what coefficient k lacks of the orthonormal one. What
// inverseDct is given are coefficients of forwardDct times this.
constexpr float kDctWeight[kDctSize] = {0.125f, 0.06497288312f, 0.0732233047f, 0.09040391826f,
                                        0.125f, 0.20248930055f, 0.4267766953f, 1.64213389807f};

constexpr float kCos4 = 0.7071067812f;        // cos(pi / 4)
constexpr float kSin8 = 0.3826834324f;        // sin(pi / 8)
constexpr float kCosLessSin = 0.5411961001f;  // cos(pi / 8) - sin(pi / 8)
constexpr float kCosAndSin = 1.3065629649f;   // cos(pi / 8) + sin(pi / 8)

inline void forwardDct(float (&x)[kDctSize]) {
  const float sum0 = x[0] + x[7], sum1 = x[1] + x[6], sum2 = x[2] + x[5], sum3 = x[3] + x[4];
  const float dif0 = x[0] - x[7], dif1 = x[1] - x[6], dif2 = x[2] - x[5], dif3 = x[3] - x[4];

  const float outer = sum0 + sum3, inner = sum1 + sum2;
  const float outerDif = sum0 - sum3, innerDif = sum1 - sum2;
  const float turned = (innerDif + outerDif) * kCos4;
  x[0] = outer + inner;
  x[4] = outer - inner;
  x[2] = outerDif + turned;
  x[6] = outerDif - turned;

  const float a = dif3 + dif2, b = dif2 + dif1, c = dif1 + dif0;
  const float shared = (a - c) * kSin8;
  const float low = kCosLessSin * a + shared, high = kCosAndSin * c + shared;
  const float middle = b * kCos4;
  const float up = dif0 + middle, down = dif0 - middle;
  x[5] = down + low;
  x[3] = down - low;
  x[1] = up + high;
  x[7] = up - high;
}

inline void inverseDct(float (&x)[kDctSize]) {
  const float outer = x[0] + x[4], inner = x[0] - x[4];
  const float turned = (x[2] - x[6]) * kCos4;
  const float outerDif = (x[2] + x[6]) + turned;
  const float sum0 = outer + outerDif, sum3 = outer - outerDif;
  const float sum1 = inner + turned, sum2 = inner - turned;

  const float down = x[5] + x[3], low = x[5] - x[3];
  const float up = x[1] + x[7], high = x[1] - x[7];
  const float middle = (up - down) * kCos4;
  const float shared = (low + high) * kSin8;
  const float a = kCosLessSin * low + shared, c = kCosAndSin * high - shared;
  const float dif0 = c + (up + down), dif1 = c + middle, dif2 = a + middle;

  x[0] = sum0 + dif0;
  x[7] = sum0 - dif0;
  x[1] = sum1 + dif1;
  x[6] = sum1 - dif1;
  x[2] = sum2 + dif2;
  x[5] = sum2 - dif2;
  x[3] = sum3 + a;
  x[4] = sum3 - a;
}

}  // namespace veskaro::pixels

#endif  // VESKARO_PIXELS_DCT_H
