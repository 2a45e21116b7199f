"""The page that orvide-report makes. The way of the data: run_summary, run_files and panel read files; study puts runs together;
figures and tables show; page joins them."""
