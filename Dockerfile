# An image with the companion veskaro-nr and the Python module veskaronr, for machines that work on many pictures.
#
#     docker build -t veskaro-nr .
#     docker run --rm -v "$PWD:/work" veskaro-nr holiday/ --output-dir clean/
FROM debian:12-slim AS build
ENV DEBIAN_FRONTEND=noninteractive
COPY scripts/packages /packages
RUN apt-get update -q \
  && sed -n 's/^build //p' /packages | xargs apt-get install -y -q --no-install-recommends dpkg-dev file python3
COPY . /source
RUN cd /source && cmake --preset package && cmake --build --preset package -j "$(nproc)" && cpack --preset package

FROM debian:12-slim
ENV DEBIAN_FRONTEND=noninteractive
# The Debian packages made above say what they stand on.
COPY --from=build /source/build/package/packages/*.deb /packages/
RUN apt-get update -q \
  && rm /packages/libveskaronrlib-dev_*.deb \
  && apt-get install -y -q --no-install-recommends /packages/*.deb python3-dask python3-distributed python3-zarr \
  && rm -rf /packages /var/lib/apt/lists/* \
  && veskaro-nr selftest && python3 -c "import veskaronr.dask"
WORKDIR /work
# As whoever owns the pictures: docker run --user "$(id -u):$(id -g)" ...
USER nobody
ENTRYPOINT ["veskaro-nr"]
