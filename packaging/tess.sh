# For /etc/profile.d: people look at the store of the service.
export TESS_URL="${TESS_URL:-sqlite:/var/lib/velk/tess.db}"
