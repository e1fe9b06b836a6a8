// An integral over the unit cube in eight dimensions by quasi-random points, shared out among the processes of MPI. Every
// process makes its chunks of one sequence, to which it skips, and the sums of chunks are added in the order of the
// sequence: the result is that of one process to the last bit, which is checked, however many there are.
//
//   mpirun -np 2 example_mpi_integral

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#define OMPI_SKIP_MPICXX  // the C operations do
#define MPICH_SKIP_MPICXX
#include <mpi.h>

#include <ravenfit/ravenfit.hpp>

namespace {

constexpr int dimension = 8;
constexpr int chunks = 256;
constexpr std::size_t points_of_chunk = 1024;

// I. M. Sobol's product of (|4 x - 2| + a) / (1 + a) with a = j / 2 for coordinate j = 0, 1, ..., whose integral is 1.
double integrand(const double* x) {
  double product = 1.0;
  for (int j = 0; j < dimension; ++j) {
    const double a = 0.5 * j;
    product *= (std::fabs(4.0 * x[j] - 2.0) + a) / (1.0 + a);
  }
  return product;
}

// The sums of chunks [first, last).
std::vector<double> sums_of_chunks(int first, int last) {
  ravenfit::sobol points(dimension);
  points.skip(static_cast<std::uint64_t>(first) * points_of_chunk);
  std::vector<double> x(points_of_chunk * dimension);
  std::vector<double> sums;
  for (int chunk = first; chunk < last; ++chunk) {
    points.fill(x);
    double sum = 0.0;
    for (std::size_t i = 0; i < points_of_chunk; ++i)
      sum += integrand(&x[i * dimension]);
    sums.push_back(sum);
  }
  return sums;
}

double mean(const std::vector<double>& sums) {
  double sum = 0.0;
  for (const double chunk : sums)
    sum += chunk;
  return sum / (static_cast<double>(chunks) * static_cast<double>(points_of_chunk));
}

}  // namespace

int main(int argc, char** argv) {
  MPI_Init(&argc, &argv);
  int rank = 0;
  int ranks = 1;
  MPI_Comm_rank(MPI_COMM_WORLD, &rank);
  MPI_Comm_size(MPI_COMM_WORLD, &ranks);

  // Process r has the chunks from chunks * r / ranks on, up to those of the next one.
  std::vector<int> first(static_cast<std::size_t>(ranks));
  std::vector<int> count(first.size());
  for (int r = 0; r < ranks; ++r) {
    const auto i = static_cast<std::size_t>(r);
    first[i] = static_cast<int>(std::int64_t{chunks} * r / ranks);
    count[i] = static_cast<int>(std::int64_t{chunks} * (r + 1) / ranks) - first[i];
  }
  const auto own = static_cast<std::size_t>(rank);
  const std::vector<double> part = sums_of_chunks(first[own], first[own] + count[own]);
  std::vector<double> all(chunks);
  MPI_Gatherv(part.data(), count[own], MPI_DOUBLE, all.data(), count.data(), first.data(), MPI_DOUBLE, 0,
              MPI_COMM_WORLD);

  int wrong = 0;
  if (rank == 0) {
    const double together = mean(all);
    const double alone = mean(sums_of_chunks(0, chunks));
    std::printf("%d processes: %.17g\none process:  %.17g\nexact:        1\n", ranks, together, alone);
    if (std::memcmp(&together, &alone, sizeof alone) != 0) {
      std::fprintf(stderr, "wrong: the processes together have another sum\n");
      wrong = 1;
    }
    if (!(std::fabs(together - 1.0) < 1e-4)) {
      std::fprintf(stderr, "wrong: the integral is 1\n");
      wrong = 1;
    }
  }
  MPI_Bcast(&wrong, 1, MPI_INT, 0, MPI_COMM_WORLD);
  MPI_Finalize();
  return wrong;
}
