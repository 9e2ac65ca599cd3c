;;; client.el --- vantle-lsp through Emacs's eglot, configured as docs/editors.md says.
;;
;; Run by run.sh as: emacs --batch -q -l client.el (-q: no init file, but Debian's packages active)
;; Environment: VANTLE_LSP (the server's folder goes first on PATH, so the
;; configuration names it as a user would), VANTLE_LSP_TIMEOUT_MS (optional).
;; Exits 0 when every check passed; otherwise prints what differed and exits 1.

(require 'cl-lib)
(setq timeout (/ (string-to-number (or (getenv "VANTLE_LSP_TIMEOUT_MS") "20000")) 1000.0))
(setq failures nil passed 0)
(defun check (ok what expected actual)
  (if ok (setq passed (1+ passed))
    (push (format "%s\n    expected: %S\n    actual:   %S" what expected actual) failures))
  ok)
(defun wait-for (predicate)
  (let ((deadline (+ (float-time) timeout)))
    (while (and (not (funcall predicate)) (< (float-time) deadline))
      (accept-process-output nil 0.05))
    (funcall predicate)))

;; The configuration from docs/editors.md, as a user pastes it.
(require 'eglot)
(define-derived-mode vantle-mode prog-mode "Vantle")
(add-to-list 'auto-mode-alist '("\\.vantle\\'" . vantle-mode))
(add-to-list 'eglot-server-programs '(vantle-mode . ("vantle-lsp")))
(setq-default eglot-workspace-configuration
              '(:vantle (:imports "" :includeInherited t :diagnostics t)))

(defun type-text (text)
  "Replaces the buffer with TEXT and sends the change, as eglot does once the user pauses."
  (erase-buffer)
  (insert text)
  (eglot--signal-textDocument/didChange))

(defun main ()
  (let* ((dir (make-temp-file "vantle-emacs" t))
         (file (expand-file-name "order.vantle" dir)))
    (find-file file)
    (check (eq major-mode 'vantle-mode) "the file opens in vantle-mode" 'vantle-mode major-mode)
    (call-interactively #'eglot)
    (let ((server (wait-for #'eglot-current-server)))
      (check server "M-x eglot connects to vantle-lsp" "a server" server)
      ;; The dictionary loads in the background: wait for the first class.
      (wait-for (lambda () (> (length (jsonrpc-request server :workspace/symbol '(:query "Order"))) 0))))
    ;; Completion at point after a dot, with the member being typed.
    (type-text "x = Shop.Order.Li")
    (let* ((capf (eglot-completion-at-point))
           (words (and capf (all-completions (buffer-substring (nth 0 capf) (nth 1 capf)) (nth 2 capf)))))
      (check (member "Lines" words) "completion after Shop.Order.Li offers Lines" "Lines" words))
    ;; Signature help and hover, as eldoc asks for them.
    (type-text "x = Shop.Order.AddLine(1, ")
    (let ((help (jsonrpc-request (eglot-current-server) :textDocument/signatureHelp
                                 (eglot--TextDocumentPositionParams))))
      (check (equal (plist-get help :activeParameter) 1) "signature help: the second argument is active"
             1 help))
    (type-text "x = Shop.Order.Lines")
    (backward-char 2)
    (let* ((hover (jsonrpc-request (eglot-current-server) :textDocument/hover
                                   (eglot--TextDocumentPositionParams)))
           (text (plist-get (plist-get hover :contents) :value)))
      (check (and text (string-match-p "Shop\\.Line" text)) "hover on Lines names its type" "Shop.Line" text))
    ;; M-. jumps into the class dictionary, at the member's name.
    (type-text "x = Shop.ExpressOrder.Number")
    (backward-char 2)
    (call-interactively #'xref-find-definitions)
    (check (string-suffix-p "/shop.json" (or buffer-file-name "")) "M-. opens the dictionary"
           ".../shop.json" buffer-file-name)
    (check (equal (thing-at-point 'word t) "Number") "M-. lands on the member's name" "Number"
           (thing-at-point 'word t))
    (find-file file)
    (eglot-shutdown (eglot-current-server))))

(condition-case err (main)
  (error (push (format "the script stopped: %S" err) failures)))
(dolist (failure (reverse failures)) (princ (format "FAIL: %s\n" failure)))
(princ (format "lsp-emacs: %d passed, %d failed\n" passed (length failures)))
(kill-emacs (if failures 1 0))
