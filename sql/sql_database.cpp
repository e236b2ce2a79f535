int norvik_sql_placeholder = 0;
